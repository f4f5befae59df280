// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "fakes/LogRecorder.h"
#include "fakes/TempFolder.h"
#include <zelmo/Lifecycle.h>
#include <zelmo/TlFactory.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

/// Starts the library with a choice of test plug-ins. One case a process: the folder list is read once.
class PluginTest : public testing::Test {
protected:
    static constexpr char kCategory[] = "zelmo.base.TlFactory";

    static std::string FolderOf(const std::string& plugin) { return TEST_PLUGINS "/" + plugin; }
    static std::string FileOf(const std::string& plugin) { return FolderOf(plugin) + "/libzelmo_TL_" + plugin + ".so"; }

    void Start(const std::vector<std::string>& plugins) {
        std::string folders = m_folder.Path().string(); // empty, but for what a test puts there
        for (const std::string& plugin : plugins) {
            folders.append(":").append(FolderOf(plugin));
        }
        StartWithFolders(folders);
    }

    void StartWithFolders(const std::string& folders) {
        setenv("ZELMO_TL_PATH", folders.c_str(), 1);
        m_library = std::make_unique<Zelmo::ZelmoScope>(false);
    }

    static Zelmo::CTlFactory& Factory() { return Zelmo::CTlFactory::GetInstance(); }
    static void Destroy(Zelmo::IZelmoDevice* device) { Factory().DestroyDevice(device); }

    static std::vector<std::string> Serials(const Zelmo::DeviceInfoList& list) {
        std::vector<std::string> serials;
        for (const Zelmo::CDeviceInfo& info : list) {
            serials.emplace_back(info.GetSerialNumber());
        }
        return serials;
    }

    /// The plug-in files that the library tried to load, in order.
    std::vector<std::string> Loaded() const {
        std::vector<std::string> files;
        const std::string prefix = "Trying to load TL lib '";
        for (const Fakes::LogLine& line : m_log.Lines()) {
            if (line.priority == GenICam::LogPriority_Notice && line.message.starts_with(prefix)) {
                files.push_back(line.message.substr(prefix.size(), line.message.size() - prefix.size() - 1));
            }
        }
        return files;
    }

    /// What the fake plug-ins were called for, in order; only calls that hold @p text.
    std::vector<std::string> FakeCalls(const std::string& text = "") const {
        std::vector<std::string> calls;
        for (const Fakes::LogLine& line : m_log.Lines()) {
            if (line.category == "fake" && line.message.find(text) != std::string::npos) {
                calls.push_back(line.message);
            }
        }
        return calls;
    }

    Fakes::TempFolder m_folder;
    Fakes::LogRecorder m_log;
    std::unique_ptr<Zelmo::ZelmoScope> m_library;
};
