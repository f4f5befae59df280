// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "genicam/genapi/model/Model.h"

#include <string_view>

namespace GenApi {

struct LoadOptions {
    bool suppressStrings = false; ///< leave out tool tips, descriptions and display names
};

/// Reads a description file, text or ZIP archive, into a model. Nothing of the source is needed afterwards.
/// @throws GenICam::RuntimeException naming line and column, node and property: not XML, not a description, a node
/// defined twice, something required missing, a value not written as its property demands, a reference that leads
/// nowhere.
ModelPtr LoadModel(std::string_view bytes, const LoadOptions& options);

/// The same without following references, which may lead to nodes of another part; see MergeModels.
ModelPtr LoadPart(std::string_view bytes, const LoadOptions& options);

} // namespace GenApi
