// SPDX-License-Identifier: Apache-2.0
#include "CommonOptions.h"
#include "Description.h"
#include "DeviceSelector.h"
#include "Output.h"
#include "PartialFiles.h"
#include "Verb.h"

#include <CLI/CLI.hpp>

namespace tool {
namespace {

class XmlVerb : public Verb {
public:
    std::string GetName() const override { return "xml"; }
    std::string GetSummary() const override { return "Print a camera's description as the camera delivers it"; }
    std::string GetDetails() const override {
        return "Byte by byte, also when it is zipped or cannot be parsed. The camera is not opened for it. With --json "
               "the document holds the text, unless it is zipped or goes to a file.";
    }
    std::vector<Example> GetExamples() const override {
        return {
            {"zelmo xml", "The description of the only camera, to standard output"},
            {"zelmo xml 0815-0000 --out camera.xml", "To a file, which is there whole or not at all"},
        };
    }

    void Define(CLI::App& command) override {
        DefineDeviceArgument(command, m_device);
        command.add_option("-o,--out", m_file, "Write to this file instead of standard output")
            ->type_name("FILE")
            ->check(NotEmpty());
    }

    ExitCode Run(Library& library, Output& output) override {
        const Zelmo::CDeviceInfo info = SelectDevice(library, m_device);
        const Description description = FetchDescription(info);
        Json json = {{"device", GetCameraName(info)},
                     {"url", description.url},
                     {"size_bytes", JsonInteger(std::uint64_t{description.bytes.size()})},
                     {"zipped", description.IsZipped()}};
        if (!m_file.empty()) {
            WriteFileWhole(m_file, reinterpret_cast<const std::uint8_t*>(description.bytes.data()),
                           description.bytes.size());
            json["file"] = m_file;
            output.Note(std::to_string(description.bytes.size()) + " bytes from " + Printable(description.url) +
                        " written to " + m_file);
        } else if (!description.IsZipped()) {
            json["xml"] = description.bytes;
        }
        if (m_file.empty()) {
            output.Bytes(description.bytes);
        }
        output.Document(json);
        return ExitCode::Done;
    }

private:
    std::string m_device;
    std::string m_file;
};

} // namespace

std::unique_ptr<Verb> MakeXmlVerb() {
    return std::make_unique<XmlVerb>();
}

} // namespace tool
