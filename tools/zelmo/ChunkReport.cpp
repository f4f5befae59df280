// SPDX-License-Identifier: Apache-2.0
#include "ChunkReport.h"

#include "Camera.h"
#include "Errors.h"

#include <GenApi/GenApi.h>

#include <algorithm>

namespace tool {

ChunkReport::ChunkReport(Camera& camera, const std::vector<std::string>& wanted)
    : m_settings(camera.GetObject(), camera.GetName()) {
    if (!SendsChunks(camera)) {
        m_settings.Set("ChunkModeActive", "1"); // first, as it may lock the others
    }
    const EntrySource source{"--chunks", "chunk", "ChunkSelector",
                             [](const auto& entry, const auto& name) { return "Chunk" + entry == name; }};
    for (const ChosenEntry& chunk : ChooseEntries(camera, source, wanted)) {
        SwitchOn(chunk);
        const std::string feature = "Chunk" + chunk.name;
        if (camera.GetNodeMap("device").GetNode(feature.c_str()) != nullptr) { // that of the image has none
            m_features.push_back(feature);
        }
    }
}

void ChunkReport::SwitchOn(const ChosenEntry& chunk) {
    try {
        m_settings.Set("ChunkSelector", chunk.name);
        m_settings.Set("ChunkEnable", "1");
    } catch (const ToolError&) {
        if (chunk.isNamed) {
            throw;
        } // else it will be missing
    }
}

NodeValues ChunkReport::Read(const Zelmo::CGrabResultData& result) const {
    NodeValues values;
    std::vector<std::string> missing = m_features;
    GenApi::INodeMap& nodeMap = result.GetChunkDataNodeMap();
    // The node map may be that part of the camera's of which the category is the root, or a copy of all.
    const char* const category = nodeMap.GetNode("ChunkData") != nullptr ? "ChunkData" : "Root";
    for (GenApi::INode* node : FindValuesOf(nodeMap, category)) {
        if (values.AddIfReadable(*node)) {
            missing.erase(std::remove(missing.begin(), missing.end(), node->GetName().c_str()), missing.end());
        }
    }
    for (const std::string& feature : missing) {
        values.AddMissing(feature);
    }
    return values;
}

bool SendsChunks(Camera& camera) {
    auto* active = dynamic_cast<GenApi::IBoolean*>(camera.GetNodeMap("device").GetNode("ChunkModeActive"));
    if (active == nullptr || !GenApi::IsAvailable(active->GetAccessMode())) {
        throw FeatureError("ChunkModeActive", "no_chunks",
                           "Camera " + camera.GetName() +
                               " sends no data along with its images: it has no feature 'ChunkModeActive'");
    }
    return active->GetValue();
}

} // namespace tool
