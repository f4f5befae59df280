// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "genicam/genapi/model/Model.h"

#include <string>

namespace GenApi {

/// Writes a model as a description that loads to an equal one: the same nodes in the same order with the same
/// properties. What was dropped or ignored on loading, groups and comments are gone.
std::string WriteXml(const Model& model);

} // namespace GenApi
