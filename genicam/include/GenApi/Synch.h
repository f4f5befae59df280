// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <Base/GCSynch.h>

namespace GenApi {

/// The lock of node maps is that of the base library.
using GenICam::AutoLock;
using GenICam::CLock;

} // namespace GenApi
