#pragma once

/// All of GenApi.

#include <GenApi/Autovector.h>
#include <GenApi/Container.h>
#include <GenApi/EnumClasses.h>
#include <GenApi/IBase.h>
#include <GenApi/IBoolean.h>
#include <GenApi/ICategory.h>
#include <GenApi/IChunkPort.h>
#include <GenApi/ICommand.h>
#include <GenApi/IDestroy.h>
#include <GenApi/IDeviceInfo.h>
#include <GenApi/IEnumEntry.h>
#include <GenApi/IEnumeration.h>
#include <GenApi/IFloat.h>
#include <GenApi/IInteger.h>
#include <GenApi/INode.h>
#include <GenApi/INodeMap.h>
#include <GenApi/IPort.h>
#include <GenApi/IPortConstruct.h>
#include <GenApi/IPortRecorder.h>
#include <GenApi/IRegister.h>
#include <GenApi/ISelector.h>
#include <GenApi/ISelectorDigit.h>
#include <GenApi/IString.h>
#include <GenApi/IUserData.h>
#include <GenApi/IValue.h>
#include <GenApi/NodeCallback.h>
#include <GenApi/NodeMapFactory.h>
#include <GenApi/NodeMapRef.h>
#include <GenApi/Pointer.h>
#include <GenApi/PortImpl.h>
#include <GenApi/PortWriteList.h>
#include <GenApi/StructPort.h>
#include <GenApi/Synch.h>
#include <GenApi/Types.h>
