// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <GenApi/INodeMap.h>

namespace Zelmo {

/// Owns a node map that the library has made, and destroys it through GenApi::IDestroy.
class CZelmoPowerNodeMapPtr {
public:
    explicit CZelmoPowerNodeMapPtr(GenApi::INodeMap* nodeMap = nullptr) noexcept : m_nodeMap(nodeMap) {}
    virtual ~CZelmoPowerNodeMapPtr();
    CZelmoPowerNodeMapPtr(const CZelmoPowerNodeMapPtr&) = delete;
    CZelmoPowerNodeMapPtr& operator=(const CZelmoPowerNodeMapPtr&) = delete;

    GenApi::INodeMap& operator*() const; ///< @throws GenICam::RuntimeException without a node map; so the next.
    GenApi::INodeMap* operator->() const { return &**this; }
    bool IsValid() const noexcept { return m_nodeMap != nullptr; }

private:
    GenApi::INodeMap* const m_nodeMap;
};

} // namespace Zelmo
