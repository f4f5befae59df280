// SPDX-License-Identifier: Apache-2.0
#include "genicam/genapi/MapFixture.h"

// Event messages as hexadecimal text; one that ends with a point is followed by zeros up to 576 bytes.

namespace {

using namespace GenApi;
const std::string kP = "00009C40000100020000000300000004", kQ = "00009C41000100020000000300000004"; // without data
const std::string kLongP = "00009C4000010002000000000000000500000003000000AA";
const std::string kSized = "00149C40000100020000000300000004AABBCCDD",
                  kSizedQ = "00149C4100010002000000030000000401020304";
const std::string kLittle = "0000409C0102030405060708AABB", kBig = "00009C400102030405060708AABB";

class EventAdapterTest : public tests::MapTest {
protected:
    void SetUp() override {
        Load(tests::Node("Port", "P", "<EventID>9C40</EventID>") +
             tests::Node("Port", "Q", "<EventID>0x9c41</EventID>") +
             tests::Value("Plain", 1, "<EventID>09C42</EventID>") + tests::Value("Odd", 1, "<EventID>?</EventID>"));
        for (const char* name : {"P", "Q"}) {
            Register(
                Map->GetNode(name), [=, this](INode*) { Seen += name + Event(name); }, cbPostOutsideLock);
        }
        Register(Map->GetNode("Plain"), [this](INode*) { Seen += '+'; });
    }
    std::string Event(const char* name) {
        std::string bytes;
        uint8_t byte = 0;
        try {
            for (int64_t i = 0; As<IPort>(name).Read(&byte, i, 1), i < 600; ++i) {
                bytes += {"0123456789ABCDEF"[byte >> 4], "0123456789ABCDEF"[byte & 15]};
            }
        } catch (const GenICam::GenericException&) { // behind the last byte
        }
        return bytes;
    }
    /// Which ports tell of what; "!" at the end if the message is refused.
    std::string Deliver(CEventAdapter& adapter, const std::string& text) {
        std::vector<uint8_t> bytes(text.ends_with('.') ? 576 : text.size() / 2);
        for (size_t i = 0; i + 1 < text.size(); i += 2) {
            bytes[i / 2] = static_cast<uint8_t>(std::stoul(text.substr(i, 2), nullptr, 16));
        }
        try {
            Seen.clear();
            adapter.DeliverMessage(bytes.data(), static_cast<uint32_t>(bytes.size()));
            return Seen;
        } catch (const GenICam::RuntimeException&) {
            return Seen + "!";
        }
    }

    std::string Seen;
};

TEST_F(EventAdapterTest, MessagesAreDeliveredAsFarAsTheirHeadersSayOrNotAtAll) {
    CEventAdapterGEV gev(Map.get());
    for (const auto& [message, seen] : std::vector<std::pair<std::string, std::string>>{
             {"420000C000100001" + kP + ".", "P" + kP},
             {"420000C000240001" + kP + kQ + "00000000", "P" + kP + "Q" + kQ},
             {"421000C000180001" + kLongP + ".", "P" + kLongP},
             {"420000C200140001" + kP + "AABBCCDD.", "P" + kP + "AABBCCDD"},
             {"421000C2001C0001" + kLongP + "AABBCCDD", "P" + kLongP + "AABBCCDD"},
             {"420000C200280001" + kSized + kSizedQ + ".", "P" + kSized + "Q" + kSizedQ},
             {"420000C200240001" + kSized + kQ + ".", "P" + kSized + "Q" + kQ}, // without a size: all the rest
             {"420000C210000001" + kP + "AA", "P" + kP + "AA"},                 // data that did not fit
             {"420000C00010000100009C42000100020000000300000004", "+"},
             {"420000C00010000100009C99000100020000000300000004", ""}}) {
        EXPECT_EQ(Deliver(gev, message), seen) << message;
    }
    EXPECT_THROW(gev.DeliverMessage(nullptr, 576), GenICam::RuntimeException);
    CEventAdapterU3V u3v(Map.get()); // the ports belong to the last adapter
    for (const std::string& good : {"553356450000000C0E000100" + kLittle + ".", "553356450000000CFFFF0100" + kLittle}) {
        EXPECT_EQ(Deliver(u3v, good), "P" + kLittle) << good;
    }
    EXPECT_EQ(Deliver(u3v, "553356450000000C0C000100" + kLittle), "P" + kLittle.substr(0, 24));
    CEventAdapterCL cl(Map.get());
    EXPECT_EQ(Deliver(cl, "010000000000000000000C00000E0001" + kBig + "."), "P" + kBig);
    const auto refuse = [&](CEventAdapter& adapter, const std::vector<std::string>& messages) {
        for (const std::string& bad : messages) {
            EXPECT_EQ(Deliver(adapter, bad), "!") << bad;
        }
    };
    refuse(gev, {"", "430000C000100001" + kP, "420000C100100001" + kP, "420000C0001000", "420000C000100001",
                 "420000C000000001" + kP, "420000C0000F0001" + kP, "420000C000200001" + kP,
                 "420000C000200001" + kP + kQ.substr(2), "421000C000180001" + kP,
                 "420000C200140001000F" + kSized.substr(4), "420000C2001400010015" + kSized.substr(4),
                 "420000C200280001" + kSized + kSizedQ.substr(2), "420000C200280001" + kSized});
    refuse(u3v, {"553356440000000C0E000100" + kLittle, "553356450000010C0E000100" + kLittle,
                 "553356450000000C0B000100" + kLittle, "553356450000000C0E000100" + kLittle.substr(6)});
    refuse(cl, {"010100000000000000000C00000E0001" + kBig, "010000000000000000000C01000E0001" + kBig});
}

TEST_F(EventAdapterTest, PortsKeepTheirLastEventUntilTheNext) {
    CEventAdapter1394 adapter(Map.get());
    CEventAdapterGEV gev(Map.get());
    adapter.AttachNodeMap(Map.get());
    const uint8_t event[] = {1, 2};
    EXPECT_EQ(Mode("P"), NA);
    adapter.DeliverMessage(event, 2, "0x9C40");
    EXPECT_EQ(Mode("P"), RO);
    EXPECT_THROW(As<IPort>("P").Write(event, 0, 1), GenICam::AccessException);
    adapter.DeliverMessage(nullptr, 0, 0x9C41);
    EXPECT_EQ(Mode("Q"), RO) << "an event without data";
    EXPECT_THROW(adapter.DeliverMessage(nullptr, 1, 0x9C41), GenICam::RuntimeException);
    EXPECT_THROW(adapter.DeliverMessage(event, 2, "event"), GenICam::InvalidArgumentException);
    EXPECT_THROW(adapter.DeliverMessage(event, 2), GenICam::LogicalErrorException);
    gev.AttachNodeMap(Map.get());
    adapter.DetachNodeMap(); // takes nothing with it
    Register(Map->GetNode("P"), [](INode*) { throw RUNTIME_EXCEPTION("from a callback"); });
    EXPECT_EQ(Deliver(gev, "420000C000200001" + kP + kQ), "P" + kP + "Q" + kQ + "!") << "no event loses its turn";
    EXPECT_EQ(Event("P"), kP);
    EXPECT_THROW(gev.AttachNodeMap(Map.get()), GenICam::RuntimeException);
    EXPECT_EQ(Deliver(gev, "420000C000100001" + kP), "P" + kP + "!") << "attached all the same";
    Map.reset();
    EXPECT_EQ(Deliver(gev, "420000C000100001" + kP), "");
}

} // namespace
