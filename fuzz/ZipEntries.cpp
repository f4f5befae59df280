// Archives: the input as it is, or, if it begins with '!', an archive made of its choices, so that sizes and sums lie
// only where the input wants them to.

#include "Fuzz.h"

#include <string>

#include <zlib.h>

namespace {

void Put(std::string& bytes, std::uint64_t value, int count) {
    for (int i = 0; i < count; ++i, value >>= 8)
        bytes += static_cast<char>(value & 0xFF);
}

std::string Deflated(const std::string& text) {
    z_stream stream = {};
    std::string packed(text.size() + 64, '\0');
    deflateInit2(&stream, 9, Z_DEFLATED, -MAX_WBITS, 8, Z_DEFAULT_STRATEGY);
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(text.data()));
    stream.avail_in = static_cast<uInt>(text.size());
    stream.next_out = reinterpret_cast<Bytef*>(packed.data());
    stream.avail_out = static_cast<uInt>(packed.size());
    deflate(&stream, Z_FINISH);
    packed.resize(packed.size() - stream.avail_out);
    deflateEnd(&stream);
    return packed;
}

/// What stands in the local header of an entry and again in the directory.
std::string EntryHead(const std::string& text, const std::string& packed, const std::string& name, int method,
                      Fuzz::Choices& choices) {
    const auto told = [&](std::uint64_t value) {
        return choices.ConsumeIntegralInRange(0, 15) == 15 ? choices.ConsumeIntegral<std::uint32_t>() : value;
    };
    std::string head;
    Put(head, 20, 2); // version
    Put(head, choices.ConsumeIntegralInRange(0, 31) == 31 ? choices.ConsumeIntegral<std::uint16_t>() : 0, 2);
    Put(head, told(static_cast<std::uint64_t>(method)), 2);
    Put(head, 0, 4); // time
    Put(head, told(crc32(0, reinterpret_cast<const Bytef*>(text.data()), static_cast<uInt>(text.size()))), 4);
    Put(head, told(packed.size()), 4);
    Put(head, told(text.size()), 4);
    Put(head, told(name.size()), 2);
    Put(head, 0, 2); // extra bytes
    return head;
}

std::string MakeArchive(Fuzz::Choices& choices) {
    std::string archive, directory;
    const int entries = choices.ConsumeIntegralInRange(0, 3);
    for (int i = 0; i < entries; ++i) {
        const std::string name = choices.ConsumeRandomLengthString(8) + (choices.ConsumeBool() ? ".xml" : "/");
        const int method = choices.ConsumeBool() ? 8 : 0;
        std::string text = choices.ConsumeRandomLengthString(600);
        text.append(choices.ConsumeIntegralInRange<std::size_t>(0, 3) * 0x2000, ' ');
        const std::string packed = method == 8 ? Deflated(text) : text;
        const std::string head = EntryHead(text, packed, name, method, choices);
        Put(directory, 0x02014B50, 4);
        Put(directory, 20, 2);
        directory += head + std::string(10, '\0'); // no comment; attributes
        Put(directory, archive.size(), 4);
        directory += name;
        archive += "PK\x03\x04" + head + name + packed;
    }
    const std::size_t start = archive.size();
    archive += directory + "PK\x05\x06" + std::string(4, '\0');
    Put(archive, static_cast<std::uint64_t>(entries) * 0x10001, 4);
    Put(archive, directory.size(), 4);
    Put(archive, start, 4);
    return archive + std::string(2, '\0') + choices.ConsumeRandomLengthString(30);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::string archive(reinterpret_cast<const char*>(data), size);
    if (archive.starts_with('!')) {
        Fuzz::Choices choices(data + 1, size - 1);
        archive = MakeArchive(choices);
    }
    if (const Fuzz::MapPtr map = Fuzz::Load(archive))
        Fuzz::UseMap(*map);
    return 0;
}
