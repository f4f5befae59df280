// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <zelmo/BufferFactory.h>
#include <zelmo/Cleanup.h>

#include <memory>

namespace Zelmo {

class CInstantCamera;

/// The application's buffer factory as a shared pointer, which gives the factory up with its last reference, if
/// @p cleanup says so. @p camera is only printed and may be gone by then. When the pointer cannot be made, the factory
/// is given up likewise and the failure goes on. Null gives null.
std::shared_ptr<IBufferFactory> ShareBufferFactory(IBufferFactory* factory, ECleanup cleanup,
                                                   const CInstantCamera* camera);

} // namespace Zelmo
