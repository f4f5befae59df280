// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace tool {

/// Names of image files from what the user gave with -o: plain text with at most one field for the number of the image
/// ("%d", "%6d", "%06d") and at most one for the camera ("%s"); "%%" is a percent sign. The text is taken apart here
/// and never reaches printf.
class FilePattern {
public:
    /// @throws ToolError that shows what is wrong and an example.
    explicit FilePattern(const std::string& pattern);

    /// Adds what is missing for names to differ: the camera before the number, the number before the extension.
    void Complete(bool severalCameras, bool severalImages);

    /// @param camera what stands for the camera; characters that no file name should hold are replaced by '_'.
    std::string GetName(const std::string& camera, std::uint64_t number) const;

    /// Lower case, with the dot: ".png"; empty without one.
    std::string GetExtension() const;

private:
    enum class Kind { Text, Number, Camera };
    struct Piece {
        Kind kind;
        std::string text;   // of a Text
        unsigned width = 0; // of a Number
        char fill = ' ';    // of a Number
    };

    void AddText(char c);
    std::size_t ParseField(const std::string& pattern, std::size_t position);
    bool Has(Kind kind) const;
    std::vector<Piece>::iterator Find(Kind kind);
    std::vector<Piece>::iterator SplitBeforeExtension();

    std::vector<Piece> m_pieces;
};

} // namespace tool
