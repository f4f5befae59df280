// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Json.h"
#include "Verb.h"

#include <string>
#include <vector>

namespace GenApi {
struct INodeMap;
}

namespace tool {

/// A verb that tells something of each feature that it is given. One that fails is told, and the others all the same;
/// the exit code is that of the first failure.
class FeatureListVerb : public Verb {
public:
    void Define(CLI::App& command) override;
    ExitCode Run(Library& library, Output& output) override;

protected:
    /// Prints the feature. @return what the document of --json holds of it. @throws ToolError
    virtual Json Tell(GenApi::INodeMap& nodeMap, const std::string& name, const std::string& camera,
                      Output& output) = 0;

private:
    DeviceOptions m_device;
    std::vector<std::string> m_features;
};

} // namespace tool
