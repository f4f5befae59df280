// SPDX-License-Identifier: Apache-2.0
#include "Camera.h"
#include "CommonOptions.h"
#include "DeviceSelector.h"
#include "Feature.h"
#include "Output.h"
#include "Verb.h"

namespace tool {
namespace {

class ExecVerb : public Verb {
public:
    std::string GetName() const override { return "exec"; }
    std::string GetSummary() const override { return "Run a command of a camera and wait until it is done"; }
    std::vector<Example> GetExamples() const override {
        return {
            {"zelmo exec DeviceReset", "Restart the only camera"},
            {"zelmo exec UserSetSave -d left --timeout 10000",
             "Wait at most ten seconds for the camera that is named left"},
        };
    }

    void Define(CLI::App& command) override {
        command.add_option("COMMAND", m_options.command, "Name of the command")->type_name("")->required();
        DefineDeviceOptions(command, m_device);
        DefineMilliseconds(command, "--timeout", m_options.timeoutMs, "Longest time to wait for the camera");
    }

    ExitCode Run(Library& library, Output& output) override {
        Camera camera(SelectDevice(library, m_device.device));
        Feature command = Feature::Find(camera.GetNodeMap(m_device), m_options.command, camera.GetName());
        const double before = output.SecondsSinceStart();
        command.Execute(std::chrono::milliseconds(m_options.timeoutMs));
        const double tookMs = (output.SecondsSinceStart() - before) * 1000;
        output.Document(
            {{"device", camera.GetName()}, {"command", m_options.command}, {"took_ms", JsonNumber(tookMs)}});
        output.Note(m_options.command + " done on camera " + camera.GetName());
        return ExitCode::Done;
    }

private:
    DeviceOptions m_device;
    ExecOptions m_options;
};

} // namespace

std::unique_ptr<Verb> MakeExecVerb() {
    return std::make_unique<ExecVerb>();
}

} // namespace tool
