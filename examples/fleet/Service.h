/// @file
/// Shippers and what a gateway replies to them.

#ifndef SQLW_EXAMPLE_FLEET_SERVICE_H
#define SQLW_EXAMPLE_FLEET_SERVICE_H

#include <string>

namespace fleet
{

class GatewayStore;

/// Takes what one shipper sends. Throws `support::Failure`.
void serve(GatewayStore& store, int input, int output);

/// Prints the port, and takes what shippers send there until SIGTERM or SIGINT. They are served at
/// the same time, so that one that hangs keeps no other waiting, and one commit keeps what all of
/// them have sent. Throws `support::Failure` when it cannot begin.
void listen(const std::string& file, const std::string& port);

} // namespace fleet

#endif
