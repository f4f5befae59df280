// SPDX-License-Identifier: Apache-2.0
#include "genicam/genapi/MapFixture.h"

#include <ctime>
#include <thread>

// Chunks of every layout that has trailers, by one description; each chunk holds a number of 4 bytes, little endian.

namespace {

using namespace GenApi;
using tests::Node;
using Bytes = std::vector<uint8_t>;

std::string OnChunk(const std::string& name, const char* id) {
    return Node("Port", name + "Port", id) +
           Node("IntReg", name,
                "<Address>0</Address><Length>4</Length><pPort>" + name + "Port</pPort><AccessMode>RW</AccessMode>");
}

class ChunkAdapterTest : public tests::MapTest, public testing::WithParamInterface<char> {
protected:
    static Bytes Pack(const std::vector<std::pair<uint8_t, uint8_t>>& chunks, Bytes bytes = {}) { // id, number
        for (const auto& [id, n] : chunks) {
            const Bytes gev = {n, 0, 0, 0, 0, 0, 0, id, 0, 0, 0, 4}, u3v = {n, 0, 0, 0, id, 0, 0, 0, 4, 0, 0, 0},
                        dcam = {n, 0, 0, 0, 0, 0,  0, 0, 0, 0, 0,   0,   0,   0,
                                0, 0, 0, 0, 0, id, 0, 0, 0, 4, 255, 255, 255, 251};
            const Bytes& chunk = GetParam() == 'G' ? gev : GetParam() == 'U' ? u3v : dcam;
            bytes.insert(bytes.end(), chunk.begin(), chunk.end());
        }
        return bytes;
    }
    std::unique_ptr<CChunkAdapter> Make(int64_t limit = -1) {
        return GetParam() == 'G' ? std::unique_ptr<CChunkAdapter>(std::make_unique<CChunkAdapterGEV>(Map.get(), limit))
               : GetParam() == 'U'
                   ? std::unique_ptr<CChunkAdapter>(std::make_unique<CChunkAdapterU3V>(Map.get(), limit))
                   : std::make_unique<CChunkAdapterDcam>(Map.get(), limit);
    }
    void SetUp() override {
        Load(OnChunk("A", "<ChunkID>000000a1</ChunkID>") + OnChunk("A2", "<ChunkID>0xA1</ChunkID>") +
             OnChunk("C", "<ChunkID>C3</ChunkID><CacheChunkData>1</CacheChunkData>") +
             OnChunk("B", "<ChunkID>B2</ChunkID>") + OnChunk("D", "<pChunkID>DId</pChunkID>") +
             OnChunk("E", "<ChunkID>no id</ChunkID>") + Node("String", "DId", "<Value>D4</Value>") +
             Node("IntReg", "Place", "<Address>0x7FFFFFFFFFFFFFFF</Address><Length>8</Length><pPort>BPort</pPort>") +
             Node("IntReg", "Size", "<Address>0x7FFFFFFFFFFFFFF0</Address><Length>8</Length><pPort>BPort</pPort>") +
             Node("IntSwissKnife", "Sum",
                  "<pVariable Name=\"A\">A</pVariable><pVariable Name=\"B\">B</pVariable><Formula>A+B</Formula>"));
        Adapter = Make();
    }
    std::string Shown() {
        std::string shown;
        for (const char* name : {"A", "A2", "B", "C", "D", "E"}) {
            shown += (IsReadable(Map->GetNode(name)) ? Text(name) : "-") + " ";
        }
        return shown;
    }
    /// What the nodes show with a buffer; "!" in front if it is refused.
    std::string With(uint8_t* bytes, int64_t size) {
        const bool isSound = Adapter->CheckBufferLayout(bytes, size);
        try {
            Adapter->AttachBuffer(bytes, size, &Found);
            return (isSound ? "" : "? ") + Shown();
        } catch (const GenICam::RuntimeException& failure) {
            EXPECT_TRUE(std::string_view(failure.GetDescription())
                            .starts_with("Invalid layout of buffer attached to chunk parser! "));
            return (isSound ? "? " : "! ") + Shown();
        }
    }
    std::string With(Bytes& bytes) { return With(bytes.data(), static_cast<int64_t>(bytes.size())); }

    std::unique_ptr<CChunkAdapter> Adapter;
    AttachStatistics_t Found = {};
    Bytes Five = Pack({{1, 9}, {0xA1, 4}, {0xB2, 6}, {0xD4, 8}, {0xA1, 5}});
    Bytes Other = Pack({{0xA1, 1}, {0xC3, 2}, {0xB2, 3}}), One = Pack({{0xA1, 7}});
};

TEST_P(ChunkAdapterTest, ShowsTheChunksOfTheAttachedBuffer) {
    EXPECT_EQ(With(Five), "5 5 6 - 8 - ") << "of two, the one nearer to the end";
    EXPECT_EQ((std::vector{Found.NumChunkPorts, Found.NumChunks, Found.NumAttachedChunks}), (std::vector{6, 5, 3}));
    EXPECT_EQ(Int("Size").GetValue(), 4);
    EXPECT_EQ(Int("Place").GetValue(), reinterpret_cast<intptr_t>(&Five[2 * One.size()]));
    Bytes moved = Five;
    for (const auto& [address, size] : {std::pair(int64_t(1), int64_t(4)), {-1, 1}, {5, 0}, {0, -1}, {INT64_MAX, 4}}) {
        EXPECT_THROW(As<IPort>("BPort").Read(&moved[0], address, size), GenICam::RuntimeException) << address;
    }
    Adapter->UpdateBuffer(moved.data());
    EXPECT_EQ(Int("Place").GetValue(), reinterpret_cast<intptr_t>(&moved[2 * One.size()]));
    Int("A").SetValue(10);
    EXPECT_EQ(moved[4 * One.size()] - Five[4 * One.size()], 5) << "written where it is read";
    As<IString>("DId").SetValue("0xB2");
    EXPECT_EQ(With(moved), "10 10 6 - 6 - ") << "another id counts from the next buffer on";
    EXPECT_EQ(With(One), "7 7 - - - - ") << "nothing of the buffer before";
    Adapter->DetachBuffer();
    EXPECT_EQ(Shown(), "- - - - - - ");
    EXPECT_THROW(Adapter->UpdateBuffer(One.data()), GenICam::LogicalErrorException);
    Adapter->DetachNodeMap();
    EXPECT_EQ(With(Five), "- - - - - - ");
}

TEST_P(ChunkAdapterTest, BrokenBuffersChangeNothing) {
    std::vector<Bytes> broken = {Bytes(1), Bytes(8), Bytes(64), Bytes(24, 0xFF)};
    for (size_t size = 1; size < Other.size(); ++size) {
        if (size % One.size() != 0 && (GetParam() != 'D' || size % One.size() != 4)) { // a checksum may follow
            broken.emplace_back(Other.data(), Other.data() + size);
        }
    }
    for (size_t i = 0; i < 4 * 4; ++i) { // the first chunk's length lies in each of its bytes
        broken.push_back(Other);
        broken.back()[One.size() - (GetParam() == 'D' ? 8 : 4) + i % 4] ^= "\x01\x7F\x80\xFF"[i / 4];
    }
    With(Five);
    for (Bytes& bytes : broken) {
        EXPECT_EQ(With(bytes), "! 5 5 6 - 8 - ");
    }
    for (const int64_t length : {int64_t(0), int64_t(-1), INT64_MIN}) {
        EXPECT_EQ(With(Other.data(), length), "! 5 5 6 - 8 - ");
    }
    EXPECT_EQ(With(nullptr, 64), "! 5 5 6 - 8 - ");
    EXPECT_THROW(Adapter->UpdateBuffer(nullptr), GenICam::RuntimeException);
    EXPECT_EQ(With(Other), "1 1 3 2 - - ");
    if (auto* const dcam = dynamic_cast<CChunkAdapterDcam*>(Adapter.get())) {
        EXPECT_FALSE(dcam->HasCRC(One.data(), 28));
        One.insert(One.end(), {0, 0, 0xF0, 0x53}); // as other software computes it
        EXPECT_EQ(With(One), "7 7 - - - - ");
        EXPECT_TRUE(dcam->CheckCRC(One.data(), 32));
        ++One[0];
        EXPECT_TRUE(dcam->HasCRC(One.data(), 32));
        EXPECT_FALSE(dcam->CheckCRC(One.data(), 32));
    }
}

TEST_P(ChunkAdapterTest, CopiesOutliveTheContentOfTheBuffer) {
    for (const auto& [limit, isCopied] : {std::pair(-1, true), {4, true}, {3, false}, {0, false}}) {
        Adapter = Make(limit);
        Bytes bytes = Other;
        Adapter->AttachBuffer(bytes.data(), static_cast<int64_t>(bytes.size()));
        bytes.assign(bytes.size(), 0); // before anybody reads
        EXPECT_EQ(Text("C"), isCopied ? "2" : "0") << limit;
        Adapter->ClearCaches();
        EXPECT_EQ(Shown(), isCopied ? "0 0 0 - - - " : "0 0 0 0 - - ") << limit;
    }
}

TEST_P(ChunkAdapterTest, CallbacksFireOnceAndOutsideOfTheLock) {
    std::string fired;
    const auto tryLock = [&] {
        CLock& lock = Map->GetLock();
        const bool isFree = lock.TryLock();
        fired += isFree ? "free," : "held,";
        if (isFree) {
            lock.Unlock();
        }
    };
    Register(Map->GetNode("Sum"), [&](INode* sum) { fired += IsReadable(sum) ? Text("Sum") + " " : "- "; });
    Register(
        Map->GetNode("Sum"), [&](INode*) { std::thread(tryLock).join(); }, cbPostOutsideLock);
    Register(Map->GetNode("C"), [&](INode*) { fired += "C "; });
    With(Five);
    Adapter->ClearCaches(); // nothing is read from a copy
    With(Other);
    Adapter->DetachBuffer();
    Adapter->DetachBuffer(); // touches no port
    EXPECT_EQ(fired, "11 free,C 4 free,C - free,");
    Register(Map->GetNode("A"), [](INode*) { throw TIMEOUT_EXCEPTION("from a callback"); });
    EXPECT_THROW(Adapter->AttachNodeMap(Map.get()), GenICam::TimeoutException);
    EXPECT_THROW(With(Other), GenICam::TimeoutException);
    EXPECT_EQ(Shown(), "1 1 3 2 - - ") << "attached all the same";
    EXPECT_THROW(Adapter->DetachNodeMap(), GenICam::TimeoutException);
}

TEST_P(ChunkAdapterTest, AdaptersComeAndGoInAnyOrder) {
    auto later = Make();
    EXPECT_EQ(With(Five), "- - - - - - ") << "the ports belong to the later adapter";
    Adapter.swap(later);
    EXPECT_EQ(With(One), "7 7 - - - - ");
    later.reset();
    EXPECT_EQ(Shown(), "7 7 - - - - ") << "the earlier one takes nothing with it";
    Map.reset();
    Adapter->AttachBuffer(Five.data(), static_cast<int64_t>(Five.size()));
    Adapter->UpdateBuffer(Five.data());
    EXPECT_THROW(Adapter->AttachNodeMap(nullptr), GenICam::InvalidArgumentException);
}

INSTANTIATE_TEST_SUITE_P(GevU3vDcam, ChunkAdapterTest, testing::Values('G', 'U', 'D'));

TEST(ChunkListTest, ListedChunksAreCheckedAgainstTheBuffer) {
    const tests::MapPtr map = tests::MakeMap(OnChunk("A", "<ChunkID>{00112233-4455-6677-8899-AABBCCDDEEFF}</ChunkID>"));
    CChunkAdapterGeneric adapter(map.get());
    Bytes bytes = {5, 0, 0, 0, 6, 0, 0, 0};
    SingleChunkDataStr_t named[] = {{"00112233445566778899aabbccddeeff", 4, 4}, {"a1!", 0, 4}};
    adapter.AttachBuffer(bytes.data(), 8, named, 1);
    SingleChunkData_t lies[] = {{0xA1, 4, 5}, {0xA1, -1, 1}, {0xA1, 9, 0}, {0xA1, 0, SIZE_MAX}};
    for (SingleChunkData_t& lie : lies) {
        EXPECT_THROW(adapter.AttachBuffer(bytes.data(), 8, &lie, 1), GenICam::RuntimeException) << lie.ChunkOffset;
    }
    EXPECT_THROW(adapter.AttachBuffer(bytes.data(), named, -1), GenICam::RuntimeException);
    EXPECT_THROW(adapter.AttachBuffer(bytes.data(), named, 2), GenICam::InvalidArgumentException);
    EXPECT_THROW(adapter.AttachBuffer(bytes.data(), 8), GenICam::LogicalErrorException);
    EXPECT_EQ(CIntegerPtr(map->GetNode("A"))->GetValue(), 6);
}

TEST(ChunkListTest, ManyPortsAndChunksAreServedInOneWalk) {
    std::string nodes = Node("Port", "P0", "<ChunkID>1</ChunkID>");
    for (int i = 1; i < 20000; ++i) {
        nodes += Node("Port", tests::Numbered("P", i),
                      "<ChunkID>1</ChunkID><pInvalidator>" + tests::Numbered("P", i - 1) + "</pInvalidator>");
    }
    const tests::MapPtr map = tests::MakeMap(nodes);
    uint8_t byte = 1;
    const std::clock_t start = std::clock();
    CChunkAdapterGeneric adapter(map.get());
    std::vector<SingleChunkData_t> chunks(100000, {1, 0, 1});
    adapter.AttachBuffer(&byte, chunks.data(), 100000);
    EXPECT_TRUE(IsReadable(map->GetNode("P19999")));
    EXPECT_LT(std::clock() - start, 2 * CLOCKS_PER_SEC);
}

} // namespace
