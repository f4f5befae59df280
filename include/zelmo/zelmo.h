// SPDX-License-Identifier: Apache-2.0
#pragma once

/// All of the library: for programs that would rather include one header than choose.

#include <zelmo/AccessMode.h>
#include <zelmo/ArrayParameter.h>
#include <zelmo/BooleanParameter.h>
#include <zelmo/BufferFactory.h>
#include <zelmo/Callback.h>
#include <zelmo/ChunkParser.h>
#include <zelmo/Cleanup.h>
#include <zelmo/CommandParameter.h>
#include <zelmo/DefaultInterface.h>
#include <zelmo/Device.h>
#include <zelmo/DeviceFilter.h>
#include <zelmo/DeviceInfo.h>
#include <zelmo/EnumParameter.h>
#include <zelmo/EnumParameterT.h>
#include <zelmo/EventGrabber.h>
#include <zelmo/Export.h>
#include <zelmo/FloatParameter.h>
#include <zelmo/GrabResultData.h>
#include <zelmo/GrabResultPtr.h>
#include <zelmo/GrabStrategy.h>
#include <zelmo/Image.h>
#include <zelmo/Info.h>
#include <zelmo/InstantCameraParams.h>
#include <zelmo/IntegerParameter.h>
#include <zelmo/Interface.h>
#include <zelmo/Lifecycle.h>
#include <zelmo/Log.h>
#include <zelmo/Parameter.h>
#include <zelmo/PixelType.h>
#include <zelmo/StreamGrabber.h>
#include <zelmo/StringParameter.h>
#include <zelmo/TList.h>
#include <zelmo/ThreadPriority.h>
#include <zelmo/TlFactory.h>
#include <zelmo/TransportLayer.h>
#include <zelmo/TransportLayerParams.h>
#include <zelmo/TypedParameter.h>
#include <zelmo/Types.h>
#include <zelmo/Utilities.h>
#include <zelmo/WaitObject.h>
#include <zelmo/WaitObjects.h>
#include <zelmo/WaitableTimer.h>
#include <zelmo/ZelmoSettings.h>
