// SPDX-License-Identifier: Apache-2.0
#include "ServedDescriptions.h"

#include "DescriptionTable.h"

namespace Serving {

namespace {

CServedDescription Load(const ServedDocument& document) {
    return {.zipped = std::string(document.zip), .text = std::string(document.xml), .name = std::string(document.name)};
}

} // namespace

const CServedDescription& ServedDescription(ESchema schema) {
    static const CServedDescription kNew = Load(kServedDocuments[0]);
    static const CServedDescription kOld = Load(kServedDocuments[1]);
    return schema == ESchema::Version_1_1 ? kNew : kOld;
}

} // namespace Serving
