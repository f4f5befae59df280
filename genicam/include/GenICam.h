// SPDX-License-Identifier: Apache-2.0
#pragma once

/// All of the GenICam modules.
#include <Base/GCBase.h>
#include <Log/CLog.h>
#if __has_include(<GenApi/GenApi.h>)
#include <GenApi/GenApi.h>
#endif
