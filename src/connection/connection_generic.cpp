#include "connection/connection_generic.h"

namespace portwise {

DWORD Connection_Generic::GetStatus(DWORD mask) { return mask & STATUS_UNIDIRECTIONAL; }

}  // namespace portwise
