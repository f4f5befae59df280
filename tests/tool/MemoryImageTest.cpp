// SPDX-License-Identifier: Apache-2.0
#include "MemoryImage.h"

#include "Errors.h"

#include <gmock/gmock.h>

namespace {

using tool::MemoryImage;

std::vector<int> Bytes(const MemoryImage& image, std::uint64_t address, std::size_t count) {
    std::vector<std::uint8_t> bytes(count, 0xEE);
    image.Get(address, bytes.data(), count);
    return {bytes.begin(), bytes.end()};
}

TEST(MemoryImageTest, HoldsWhatItsLinesSayAndZerosElsewhere) {
    MemoryImage image;
    image.Parse("\xEF\xBB\xBF# registers\r\n\n0x10 0102 03\t0X04 # four\r\n3e AABBCCDD\n12 ff\nFFFFFFFFFFFFFFFE 8899",
                "image");
    EXPECT_EQ(Bytes(image, 0xE, 8), (std::vector<int>{0, 0, 1, 2, 0xFF, 4, 0, 0})) << "the later line counts";
    EXPECT_EQ(Bytes(image, 0x3D, 6), (std::vector<int>{0, 0xAA, 0xBB, 0xCC, 0xDD, 0})) << "over a page's end";
    EXPECT_EQ(Bytes(image, ~std::uint64_t{0} - 2, 5), (std::vector<int>{0, 0x88, 0x99, 0, 0}));
    tool::MemoryPort port(image);
    port.Write("\x07\x08", -1 - 0x7FFFFFFFFFFFFFFF, 2);
    EXPECT_EQ(Bytes(image, 0x8000000000000000, 3), (std::vector<int>{7, 8, 0}));
}

TEST(MemoryImageTest, WrongLineIsNamed) {
    for (const std::string one :
         {"0 00\n\nxyz 00|3: 'xyz' is no hexadecimal address", "0|1: no bytes", "-1 00|1: '-1'", "0 123|1: '123' has 3",
          "10000000000000000 00|1: '10000000000000000' is no hex", "0 1g|1: '1g' is not hex", "0 0x|1: '0x' has 0",
          "FFFFFFFFFFFFFFFF 0000|1: the bytes at 'FFFFFFFFFFFFFFFF' reach", "0 -1|1: '-1' is not",
          "\33[2J 0|1: '?[2J'"}) {
        std::string message = "not refused";
        try {
            MemoryImage().Parse(one.substr(0, one.find('|')), "a.txt");
        } catch (const tool::ToolError& error) {
            message = error.what();
        }
        EXPECT_THAT(message, testing::StartsWith("Memory image 'a.txt', line " + one.substr(one.find('|') + 1)));
    }
}

} // namespace
