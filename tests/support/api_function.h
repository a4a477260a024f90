#pragma once

#include <windows.h>

namespace portwise {

/// A lambda without captures as a function of the API, which on 32-bit Windows is called in a way of its own.
template <class Body>
class ApiFunction {
 public:
  ApiFunction(Body) {}

  template <class Result, class... Arguments>
  using Pointer = Result(WINAPI*)(Arguments...);

  template <class Result, class... Arguments>
  operator Pointer<Result, Arguments...>() const {
    return Call<Result, Arguments...>;
  }

 private:
  template <class Result, class... Arguments>
  static Result WINAPI Call(Arguments... arguments) {
    return Body{}(arguments...);
  }
};

}  // namespace portwise
