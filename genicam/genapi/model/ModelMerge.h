// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "genicam/genapi/model/Model.h"

#include <vector>

namespace GenApi {

/// One model of several, whose references may still be names. Of nodes of one name that with the highest MergePriority
/// stays, with all that is written inside it, in the place of the first; of equal ones the first. Categories of one
/// name list the features of all. What is said of the device is the first model's.
/// @throws GenICam::RuntimeException as loading does, with node and property but without a place in a file.
ModelPtr MergeModels(const std::vector<ModelPtr>& parts);

/// The nodes that can be reached over references from @p root, in their order.
/// @throws GenICam::RuntimeException if @p renameToRoot and another node that is reached is called Root.
ModelPtr ExtractModel(const Model& model, NodeIndex root, bool renameToRoot);

} // namespace GenApi
