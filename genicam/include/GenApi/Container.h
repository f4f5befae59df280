// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <Base/GCArray.h>

namespace GenApi {

struct INode;
struct IValue;

/// A list of nodes, which it borrows.
class node_vector : public GenICam::gcarray<INode*> {
public:
    using GenICam::gcarray<INode*>::gcarray;
};

/// A list of nodes that have a value, which it borrows.
class value_vector : public GenICam::gcarray<IValue*> {
public:
    using GenICam::gcarray<IValue*>::gcarray;
};

typedef node_vector NodeList_t;
typedef value_vector FeatureList_t;

} // namespace GenApi
