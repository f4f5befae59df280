// SPDX-License-Identifier: Apache-2.0

// Event messages in all layouts. The input's end chooses the layout and the lengths of the messages, which its start
// holds.

#include "Fuzz.h"
#include <GenApi/EventAdapter1394.h>
#include <GenApi/EventAdapterCL.h>
#include <GenApi/EventAdapterGEV.h>
#include <GenApi/EventAdapterU3V.h>

#include <vector>

using namespace GenApi;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Fuzz::Choices choices(data, size);
    const Fuzz::MapPtr map = Fuzz::MakeMapOfAllKinds();
    CEventAdapterGEV gev(map.get());
    CEventAdapterU3V u3v(map.get());
    CEventAdapterCL cl(map.get());
    CEventAdapter1394 generic(map.get());
    CEventAdapter* const adapters[] = {&gev, &u3v, &cl, &generic};
    const auto layout = choices.ConsumeIntegralInRange<std::size_t>(0, 3);
    for (int messages = 0; messages < 4 && choices.remaining_bytes() > 0; ++messages) {
        const auto length = choices.ConsumeIntegralInRange<std::size_t>(0, 255);
        const std::vector<std::uint8_t> bytes = choices.ConsumeBytes<std::uint8_t>(length);
        const std::vector<std::uint8_t> message(bytes.begin(), bytes.end()); // without room behind its end
        const auto count = static_cast<std::uint32_t>(message.size());
        const std::string id = choices.ConsumeBool() ? "9001" : choices.ConsumeRandomLengthString(6);
        Fuzz::Try([&] { adapters[layout]->DeliverMessage(message.data(), count); },
                  [&] { generic.DeliverMessage(message.data(), count, id.c_str()); });
        for (const char* name : {"EventTime", "EventCount"})
            Fuzz::UseNode(*map->GetNode(name));
    }
    return 0;
}
