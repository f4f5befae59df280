// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "XMLWrapperLib/WrapXml.h"
#include "ZelmoBase/binding/BindingRule.h"

namespace Zelmo {

/// Makes a rule of an element `Rule`; whether it is custom, and its origin, are for the caller to set.
/// @throws GenICam::RuntimeException for an element or a word that is none of a rule, an invalid expression, and a rule
/// without any element.
CBindingRule ReadRule(const CXmlNode& node);

} // namespace Zelmo
