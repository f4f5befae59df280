// SPDX-License-Identifier: Apache-2.0
#include "genicam/genapi/persistence/DeviceWatch.h"

#include <GenApi/Container.h>
#include <GenApi/INode.h>
#include <GenApi/IRegister.h>

#include <algorithm>

namespace GenApi {

namespace {

constexpr int kSilentInARow = 3; // single registers fail on devices that are well

/// Others say nothing about the device: their values stand in the node map.
bool IsInRegister(IValue& feature) {
    NodeList_t terminals;
    if (INode* const node = feature.GetNode()) {
        node->GetChildren(terminals, ctTerminalNodes);
    }
    return std::any_of(terminals.begin(), terminals.end(),
                       [](INode* node) { return dynamic_cast<IRegister*>(node) != nullptr; });
}

} // namespace

bool IsSilent(IValue& feature) {
    try {
        feature.ToString(false, true);
        return false;
    } catch (const GenICam::AccessException&) {
        return false; // the node map refused it, so nothing was asked
    } catch (const std::exception&) {
        return true;
    }
}

void DeviceWatch::NoteAnswer(IValue& feature) {
    if (m_answering == nullptr && IsReadable(feature.GetAccessMode()) && IsInRegister(feature)) {
        m_answering = &feature; // the first will do, the others are not looked at
    }
}

bool DeviceWatch::IsGone(IValue& failed) {
    if (m_answering != nullptr) {
        return IsSilent(*m_answering);
    }
    return IsInRegister(failed) && IsSilent(failed) && ++m_silent == kSilentInARow;
}

} // namespace GenApi
