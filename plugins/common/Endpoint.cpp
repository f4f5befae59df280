// SPDX-License-Identifier: Apache-2.0
#include "common/Endpoint.h"

#include <arpa/inet.h>

namespace PluginKit {

std::string AddressText(std::uint32_t address) {
    char text[INET_ADDRSTRLEN] = {};
    const in_addr network{htonl(address)};
    inet_ntop(AF_INET, &network, text, sizeof text);
    return text;
}

std::string Text(const CEndpoint& endpoint) {
    return AddressText(endpoint.address) + ":" + std::to_string(endpoint.port);
}

std::optional<std::uint32_t> ParseAddress(std::string_view text) {
    in_addr network{};
    if (inet_pton(AF_INET, std::string(text).c_str(), &network) != 1) {
        return std::nullopt;
    }
    return ntohl(network.s_addr);
}

} // namespace PluginKit
