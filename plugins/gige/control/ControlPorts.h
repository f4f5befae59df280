// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "net/UdpSocket.h"

namespace Gige {

/// A socket for commands to a camera. Who wants control has the port from which this process controlled it last, if
/// that is free: to the camera it is then the same application, which need not wait until the old heartbeat has run
/// out. Who only reads has another one: from that port it would keep a session alive that nobody has any more.
/// @throws GenICam::RuntimeException
CUdpSocket MakeControlSocket(const CRoute& route, bool wantsControl);
/// The camera has given control to this socket.
void RememberControlPort(const CRoute& route, const CUdpSocket& socket);
/// Whether this process controlled the camera last, from there.
bool IsControlPort(const CRoute& route, const PluginKit::CEndpoint& holder);

} // namespace Gige
