#pragma once

#include "core/exception.h"

namespace portwise {

/// A call of the socket library failed; the code is the socket error.
class SocketException : public OException {
 public:
  explicit SocketException(int error) : OException(error) {}
};

}  // namespace portwise
