// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "genicam/genapi/model/Model.h"

#include <string>

namespace GenApi {

/// A property as text, normalised: numbers decimal and with full precision, references by the node's name; read again
/// it gives the same property.
std::string PropertyText(const Model& model, const Property& property);

} // namespace GenApi
