// SPDX-License-Identifier: Apache-2.0

// A plug-in of class "FakeFaulty" whose fault is named by the environment variable ZELMO_TEST_FAULT: "<where> <what>",
// where is an export or EnumerateDevices, and what is thrown there: GenICam, standard or unknown, or abort; or one of
// the faults that are told apart below. With "none, calls back" its exports use the factory themselves.

#include "FakeTransportLayer.h"
#include "ManyEntries.h"
#include <zelmo/TlFactory.h>

#include <cstdlib>
#include <dlfcn.h>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <utility>

using namespace Fakes;

namespace {

bool Fault(const std::string& fault) {
    const char* const wanted = std::getenv("ZELMO_TEST_FAULT");
    return wanted && fault == wanted;
}

void FailIn(const std::string& place) {
    if (Fault(place + " GenICam")) {
        throw RUNTIME_EXCEPTION("broken");
    }
    if (Fault(place + " standard")) {
        throw std::runtime_error("broken");
    }
    if (Fault(place + " unknown")) {
        throw 1;
    }
    if (Fault(place + " abort")) {
        std::abort();
    }
}

std::string OwnFileName() {
    static const char kAnchor = 0;
    Dl_info info{};
    dladdr(&kAnchor, &info);
    return std::filesystem::path(info.dli_fname).filename();
}

/// Runs @p step unless that is what led here: the factory comes back to the plug-in that calls it.
template <class Step>
void CallBack(Step&& step) {
    static bool isCalling = false;
    if (!Fault("none, calls back") || std::exchange(isCalling, true)) {
        return;
    }
    step(Zelmo::CTlFactory::GetInstance());
    isCalling = false;
}

template <class Base>
class FaultyTransportLayer : public Base {
public:
    using Base::Base;
    using Base::EnumerateDevices;

    int EnumerateDevices(Zelmo::DeviceInfoList& list, const Zelmo::DeviceInfoList&, bool) override {
        if (Fault("Ignores addToList")) {
            list.clear();
        }
        list.push_back(Fault("No device class") ? Classless() : this->Device("found before the fault"));
        FailIn("EnumerateDevices");
        return 1;
    }
    Zelmo::CTlInfo GetTlInfo() const override {
        FailIn("GetTlInfo");
        return Fault("Same name") ? TlInfo("FakeGood") : Base::GetTlInfo();
    }

private:
    static Zelmo::CDeviceInfo Classless() {
        Zelmo::CDeviceInfo info;
        return info.SetFullName("lost").SetSerialNumber("77");
    }
};

class CountedFaultyTransportLayer final : public FaultyTransportLayer<CountedTransportLayer> {
public:
    using FaultyTransportLayer::FaultyTransportLayer;

    void SetPrivateProperty(int, const void*, std::size_t) override { FailIn("SetPrivateProperty"); }
};

} // namespace

ZELMO_PLUGIN_EXPORT void GetTLInfoList(Zelmo::TlInfoList& list, bool) {
    list.push_back(TlInfo("FakeFaulty"));
    FailIn("GetTLInfoList");
    CallBack([](Zelmo::CTlFactory& factory) {
        Zelmo::TlInfoList tls;
        factory.EnumerateTls(tls);
    });
    if (!Fault("Million null") && !Fault("Million")) {
        return;
    }
    for (int i = 1; i < kManyEntries; ++i) {
        Zelmo::CTlInfo info = TlInfo("FakeFaulty");
        info.SetFullName(std::to_string(i).c_str());
        list.push_back(std::move(info));
    }
}

ZELMO_PLUGIN_EXPORT Zelmo::ITransportLayer* Create(const Zelmo::CTlInfo& info) {
    FailIn("Create");
    CallBack([](Zelmo::CTlFactory& factory) { factory.ReleaseTl(factory.CreateTl(Zelmo::String_t("FakeGood"))); });
    if (Fault("Create null") || Fault("Create null in " + OwnFileName()) || Fault("Million null")) {
        return nullptr;
    }
    if (Fault("Not counted") || Fault("Destroy not counted")) {
        return new FaultyTransportLayer<FakeTransportLayer>(info);
    }
    return new CountedFaultyTransportLayer(info);
}

ZELMO_PLUGIN_EXPORT void Destroy(Zelmo::ITransportLayer* tl) {
    if (!Fault("Million")) {
        LogCall("Destroy %s", "faulty");
    }
    FailIn("Destroy");
    if (Fault("Destroy not counted")) {
        throw RUNTIME_EXCEPTION("broken");
    }
    CallBack([](Zelmo::CTlFactory& factory) {
        Zelmo::CDeviceInfo info;
        factory.DestroyDevice(factory.CreateDevice(info.SetDeviceClass("FakeFaulty")));
        Zelmo::DeviceInfoList devices;
        factory.EnumerateDevices(devices);
    });
    delete static_cast<FakeTransportLayer*>(tl);
}
