// SPDX-License-Identifier: Apache-2.0
#include "CommonOptions.h"
#include "DeviceSelector.h"
#include "Output.h"
#include "PartialFiles.h"
#include "Verb.h"

#include <zelmo/Device.h>
#include <zelmo/TlFactory.h>

#include <CLI/CLI.hpp>

#include <memory>

namespace tool {
namespace {

struct DeviceDestroyer {
    void operator()(Zelmo::IZelmoDevice* device) const noexcept {
        try {
            Zelmo::CTlFactory::GetInstance().DestroyDevice(device);
        } catch (const std::exception&) { // the verb's result stands; the library logged the cause
        }
    }
};

struct Description {
    std::string url;
    std::string bytes;

    bool IsZipped() const { return bytes.rfind("PK\x03\x04", 0) == 0; }
};

/// The device is not opened: opening makes node maps, which a broken description does not permit, and another program
/// may have it open.
Description FetchDescription(const Zelmo::CDeviceInfo& info) {
    const std::string camera = GetCameraName(info);
    try {
        const std::unique_ptr<Zelmo::IZelmoDevice, DeviceDestroyer> device(
            Zelmo::CTlFactory::GetInstance().CreateDevice(info));
        auto* source = dynamic_cast<Zelmo::IDescriptionSource*>(device.get());
        if (source == nullptr) {
            throw FeatureError("", "no_description",
                               "Camera " + camera + ": its transport layer does not give out descriptions");
        }
        Zelmo::String_t url;
        Zelmo::String_t bytes;
        source->GetDescription(url, bytes);
        return {url.c_str(), std::string(bytes.c_str(), bytes.size())};
    } catch (const GenICam::GenericException& error) {
        throw FromLibrary(error, "Reading the description of camera " + camera);
    }
}

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
            json["description"] = description.bytes;
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
