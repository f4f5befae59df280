// SPDX-License-Identifier: Apache-2.0

// Plug-ins are built apart from the library and call through tables of virtual operations: the place of each operation
// in them may not move, with what is added or taken away.

#include "fakes/VirtualSlots.h"
#include <zelmo/ChunkParser.h>
#include <zelmo/DefaultInterface.h>
#include <zelmo/Device.h>
#include <zelmo/EventGrabber.h>
#include <zelmo/StreamGrabber.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>

using namespace Zelmo;
using Fakes::Slot;
using Fakes::Slots;
using testing::ElementsAre;

namespace {

TEST(VirtualOrderTest, InfosKeepTheirPlaces) {
    EXPECT_THAT(Slots(&IProperties::GetPropertyNames, &IProperties::GetPropertyAvailable,
                      &IProperties::GetPropertyValue, &IProperties::SetPropertyValue, &IProperties::IsSubset,
                      &CInfoBase::IsUserProvided),
                ElementsAre(0, 1, 2, 3, 4, 7)); // CInfoBase's comes behind the destructor, which has two places
}

TEST(VirtualOrderTest, ListsKeepTheirPlaces) {
    using List = TlInfoList; // the destructor's two come first
    EXPECT_THAT(Slots(&List::assign, &List::clear, &List::capacity, &List::max_size, &List::size, &List::empty,
                      &List::pop_back, &List::resize, &List::reserve),
                ElementsAre(2, 3, 11, 16, 17, 19, 20, 22, 23));
    EXPECT_EQ(Slot<const CTlInfo&(std::size_t) const>(&List::at), 6u);
    EXPECT_EQ(Slot<const CTlInfo&() const>(&List::back), 8u);
    EXPECT_EQ(Slot<List::const_iterator() const>(&List::begin), 10u);
    EXPECT_EQ(Slot<List::const_iterator() const>(&List::end), 13u);
    EXPECT_EQ(Slot<const CTlInfo&() const>(&List::front), 15u);
    EXPECT_EQ(Slot<void(const CTlInfo&)>(&List::push_back), 21u);
    EXPECT_EQ((Slot<void(std::size_t, const CTlInfo&)>(&List::insert)), 25u);
}

TEST(VirtualOrderTest, TransportLayersAndInterfacesKeepTheirPlaces) {
    using Factory = IDeviceFactory;
    EXPECT_EQ((Slot<int(DeviceInfoList&, bool)>(&Factory::EnumerateDevices)), 0u);
    EXPECT_EQ((Slot<int(DeviceInfoList&, const DeviceInfoList&, bool)>(&Factory::EnumerateDevices)), 1u);
    EXPECT_EQ(Slot<IZelmoDevice*(const CDeviceInfo&)>(&Factory::CreateDevice), 2u);
    EXPECT_EQ(Slot<IZelmoDevice*(const CDeviceInfo&)>(&Factory::CreateFirstDevice), 3u);
    EXPECT_EQ((Slot<IZelmoDevice*(const CDeviceInfo&, const StringList_t&)>(&Factory::CreateDevice)), 4u);
    EXPECT_EQ((Slot<IZelmoDevice*(const CDeviceInfo&, const StringList_t&)>(&Factory::CreateFirstDevice)), 5u);
    EXPECT_EQ(Slot<IZelmoDevice*(const String_t&)>(&Factory::CreateDevice), 6u);
    EXPECT_THAT(Slots(&Factory::DestroyDevice, &Factory::IsDeviceAccessible, &ITransportLayer::GetTlInfo),
                ElementsAre(7, 8, 9));
    using Private = ITransportLayerPrivate;
    EXPECT_THAT(Slots(&Private::AddRef, &Private::Release, &Private::SetPrivateProperty), ElementsAre(0, 1, 5));
    using Interface = CDefaultInterface;
    EXPECT_THAT(Slots(&Interface::Open, &Interface::Close, &Interface::IsOpen, &Interface::GetInterfaceInfo,
                      &Interface::GetNodeMap, &Interface::Delete, &IInterfacePrivate::Delete),
                ElementsAre(9, 10, 11, 12, 13, 22, 0)); // in between: the destructor's two and six protected ones
}

TEST(VirtualOrderTest, DevicesKeepTheirPlaces) {
    using Device = IZelmoDevice;
    EXPECT_THAT(Slots(&Device::Open, &Device::Close, &Device::IsOpen, &Device::AccessMode, &Device::GetDeviceInfo,
                      &Device::GetStreamGrabber, &Device::GetEventGrabber, &Device::GetNodeMap, &Device::GetTLNodeMap,
                      &Device::CreateEventAdapter, &Device::DestroyEventAdapter, &Device::CreateChunkParser,
                      &Device::RegisterRemovalCallback, &Device::DeregisterRemovalCallback),
                ElementsAre(0, 1, 2, 3, 4, 6, 7, 8, 9, 12, 13, 14, 16, 17));
    using Callback = Base_Callback1Body<IZelmoDevice*>;
    EXPECT_THAT(Slots(&IZelmoDevicePrivate::IsChunkNodeMapDescriptionAvailable, &Callback::operator(), &Callback::clone,
                      &IDescriptionSource::GetDescription),
                ElementsAre(2, 2, 3, 0));
}

TEST(VirtualOrderTest, GrabbersAndParsersKeepTheirPlaces) {
    using Stream = IStreamGrabber;
    EXPECT_THAT(Slots(&Stream::Open, &Stream::Close, &Stream::IsOpen, &Stream::RegisterBuffer,
                      &Stream::DeregisterBuffer, &Stream::PrepareGrab, &Stream::StartStreaming, &Stream::StopStreaming,
                      &Stream::FinishGrab, &Stream::QueueBuffer, &Stream::FlushBuffers, &Stream::RetrieveResult,
                      &Stream::GetWaitObject, &Stream::GetNodeMap),
                ElementsAre(0, 1, 2, 3, 4, 5, 7, 8, 9, 10, 11, 13, 14, 15));
    using Events = IEventGrabber;
    EXPECT_THAT(Slots(&Events::Open, &Events::Close, &Events::RetrieveEvent, &Events::GetWaitObject,
                      &Events::GetNodeMap, &IEventAdapter::DeliverMessage),
                ElementsAre(0, 1, 3, 4, 5, 0));
    using Parser = ISelfReliantChunkParser;
    EXPECT_THAT(Slots(&Parser::AttachBuffer, &Parser::DetachBuffer, &Parser::UpdateBuffer, &Parser::HasCRC,
                      &Parser::CheckCRC, &Parser::GetChunkDataNodeMap, &Parser::Destroy),
                ElementsAre(0, 1, 2, 3, 4, 5, 6));
}

} // namespace
