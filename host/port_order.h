#pragma once

#include "host/order.h"
#include "host/ports.h"

namespace portwise {

/// The registered port of that name. OrderError when there is none.
Port RequirePort(const std::string& name);

/// Sets what an order says of a port, and leaves the rest: where it leads to is one of the texts "host" (with the
/// number "port"), "device" (with the text "kind") and "file"; then there are the texts "protocol", "queue" and "line"
/// and the flag "byteCounting". What a new place needs and the order does not say becomes what is usual there. Throws
/// OrderError, with what is wrong, when the port could not be used as it would be; `port` is then half changed.
void ApplyPortOrder(const nlohmann::json& order, Port* port);

/// The port as lists and orders name it.
nlohmann::json DescribePort(const Port& port);

}  // namespace portwise
