#include "genicam/genapi/map/MapLink.h"

#include "genicam/genapi/map/NodeMap.h"
#include "genicam/genapi/nodes/PortNode.h"

#include <Log/CLog.h>

#include <exception>

namespace GenApi {

MapLink::MapLink(INodeMap& map) : m_map(&map) {
    if (auto* const ours = dynamic_cast<NodeMap*>(&map)) {
        m_core = &ours->Core();
        m_life = m_core->Life();
    }
}

void MapLink::Connect(INode& portNode, IPortConstruct& implementation) {
    auto& port = dynamic_cast<IPortConstruct&>(portNode);
    implementation.SetPortImpl(&port);
    port.SetPortImpl(&implementation);
}

void MapLink::Disconnect(INode& portNode, IPort& implementation) {
    if (m_core != nullptr) {
        static_cast<PortNode&>(portNode).Disconnect(&implementation);
    } else {
        dynamic_cast<IPortConstruct&>(portNode).SetPortImpl(nullptr);
    }
}

void LogLateFailure(const char* occasion) noexcept {
    static auto& logger = GenICam::CLog::GetLogger("GenApi");
    try {
        throw;
    } catch (const std::exception& failure) {
        GenICam::CLog::Log(logger, GenICam::LogPriority_Error, "%s: %s", occasion, failure.what());
    } catch (...) {
        GenICam::CLog::Log(logger, GenICam::LogPriority_Error, "%s: unknown exception", occasion);
    }
}

} // namespace GenApi
