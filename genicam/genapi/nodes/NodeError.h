// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "genicam/genapi/nodes/MapCore.h"
#include "genicam/genapi/nodes/NodeBase.h"

#include <Base/GCException.h>

/// `throw NODE_EXCEPTION(AccessException, *this)("Node is not writable.");` names the node that raises and the
/// outermost public call of the map.
#define NODE_EXCEPTION(Type, node)                                                                                     \
    GENICAM_NODE_EXCEPTION(Type, (node).Core().EntryPoint().c_str(), (node).NameText().c_str())
