// SPDX-License-Identifier: Apache-2.0
#pragma once

/// Everything of the Base module: strings, exceptions, locks, helpers.
#include <Base/GCAllocating.h>
#include <Base/GCArray.h>
#include <Base/GCException.h>
#include <Base/GCLinkage.h>
#include <Base/GCString.h>
#include <Base/GCStringVector.h>
#include <Base/GCSynch.h>
#include <Base/GCTypes.h>
#include <Base/GCUtilities.h>
