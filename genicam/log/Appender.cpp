// SPDX-License-Identifier: Apache-2.0
#include <Log/Appender.h>

namespace GenICam {

Appender::Appender(const gcstring& name) : m_name(name) {}

Appender::~Appender() = default; // the vtable stands here

} // namespace GenICam
