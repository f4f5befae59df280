// SPDX-License-Identifier: Apache-2.0
#include "genicam/genapi/nodes/SwissKnifeNode.h"

#include "genicam/genapi/nodes/NodeError.h"

namespace GenApi {

template <typename Base, typename T>
void SwissKnifeOf<Base, T>::BindProperty(const Property& property) {
    if (property.kind == PropertyKind::Formula) {
        m_program.text = this->Description().TextOf(property.payload);
    } else {
        Base::BindProperty(property);
    }
}

template <typename Base, typename T>
void SwissKnifeOf<Base, T>::Store(T, bool) {
    throw NODE_EXCEPTION(LogicalErrorException, *this)("Node '%s' is computed and cannot be written.",
                                                       this->NameText().c_str());
}

template class SwissKnifeOf<FloatBase, double>;
template class SwissKnifeOf<IntegerBase, std::int64_t>;

} // namespace GenApi
