// SPDX-License-Identifier: Apache-2.0
#include "Escape.h"
#include "Feature.h"
#include "FeatureListVerb.h"
#include "Output.h"

namespace tool {
namespace {

class GetVerb : public FeatureListVerb {
public:
    std::string GetName() const override { return "get"; }
    std::string GetSummary() const override { return "Print features as NAME=VALUE, as 'set' takes them"; }
    std::string GetDetails() const override {
        return "One line each: of a text, \\\\ stands for a backslash, \\n, \\r and \\t for line end, carriage return "
               "and tab, "
               "and \\xHH for each byte of any other control character and of what is no UTF-8. --json has the text "
               "itself.";
    }
    std::vector<Example> GetExamples() const override {
        return {
            {"zelmo get Width Height PixelFormat", "Three features of the only camera, in this order"},
            {"zelmo get ExposureTime -d left --json", "With type, unit and limits, of the camera that is named left"},
        };
    }

protected:
    Json Tell(GenApi::INodeMap& nodeMap, const std::string& name, const std::string& camera, Output& output) override {
        const Feature feature = Feature::Find(nodeMap, name, camera);
        const std::string text = feature.GetText();
        Json json = feature.GetDescription(true);
        output.Line(name + "=" + Escape(text));
        return json;
    }
};

} // namespace

std::unique_ptr<Verb> MakeGetVerb() {
    return std::make_unique<GetVerb>();
}

} // namespace tool
