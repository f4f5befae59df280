// SPDX-License-Identifier: Apache-2.0

// Scripted cameras of class "Scripted": ZELMO_TEST_CAMERAS of them (1 when unset), with serial numbers S1 and so on.
// They play the script of ZELMO_TEST_SCRIPT; the number of the first one in frame records is 1.

#include "StreamDevice.h"
#include "fakes/plugins/FakeTransportLayer.h"

#include <cstdlib>

using namespace Fakes;

namespace {

std::string Variable(const char* name, const char* otherwise) {
    const char* const value = std::getenv(name);
    return value ? value : otherwise;
}

class ScriptedTransportLayer final : public CountedTransportLayer {
public:
    using CountedTransportLayer::CountedTransportLayer;

private:
    std::vector<Zelmo::String_t> Serials() const override {
        std::vector<Zelmo::String_t> serials;
        for (int i = 1; i <= std::atoi(Variable("ZELMO_TEST_CAMERAS", "1").c_str()); ++i) {
            serials.emplace_back(("S" + std::to_string(i)).c_str());
        }
        return serials;
    }
    FakeDevice* New(const Zelmo::CDeviceInfo& info) const override {
        std::uint32_t number = 0;
        for (const Zelmo::String_t& serial : Serials()) {
            if (++number; Device(serial).IsSubset(info)) {
                return new CScriptedDevice(Variable("ZELMO_TEST_SCRIPT", ""), number, Device(serial));
            }
        }
        throw RUNTIME_EXCEPTION("There is no such scripted camera.");
    }
};

} // namespace

ZELMO_PLUGIN_EXPORT void GetTLInfoList(Zelmo::TlInfoList& list, bool) {
    list.push_back(TlInfo("Scripted"));
}

ZELMO_PLUGIN_EXPORT Zelmo::ITransportLayer* Create(const Zelmo::CTlInfo& info) {
    return new ScriptedTransportLayer(info);
}

ZELMO_PLUGIN_EXPORT void Destroy(Zelmo::ITransportLayer* tl) {
    delete static_cast<ScriptedTransportLayer*>(tl);
}
