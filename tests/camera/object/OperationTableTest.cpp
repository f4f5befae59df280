// SPDX-License-Identifier: Apache-2.0

// The table of docs/grabbing.md, row by row: each operation in each place where it is not forbidden, in peace and while
// two threads start, stop, open, close and write features. A cell that hangs ends the process with its name.

#include "CameraTest.h"
#include "ScriptedEvents.h"

#include <GenApi/NodeCallback.h>
#include <GenApi/Pointer.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <future>
#include <regex>
#include <sstream>

using namespace Zelmo;

namespace {

constexpr auto kLongest = std::chrono::seconds(60); // of a cell: sanitizers are slow

/// A camera and what is around it.
struct Stage {
    Stage() {
        camera.RegisterConfiguration(&life, RegistrationMode_ReplaceAll, Cleanup_None);
        events.nodeMap = device.CStreamDevice::GetNodeMap();
        device.eventGrabber = &events;
        device.eventAdapter = &events;
        camera.Attach(&device, Cleanup_None);
        camera.GrabCameraEvents.SetValue(true);
        other.hasRemoval = false;
    }
    ~Stage() {
        life.on.clear();
        camera.DetachDevice();
        camera.GetExtensionInterface().JoinGrabLoopThread();
        camera.DeregisterImageEventHandler(&life);
    }

    Diary life; // first: handlers outlive the camera
    CConfigurationEventHandler configuration;
    CImageEventHandler image;
    CCameraEventHandler event;
    ScriptedEvents events;
    LifeDevice device{"source=free", "Life", {{"Integer", "EventSelector", 8, ""}, {"Integer", "EventValue", 9, ""}}};
    LifeDevice other;
    CInstantCamera camera;
};

using Operation = std::function<void(Stage&)>;

std::map<std::string, Operation> Operations() {
    const auto ask = [](auto member) { return Operation([member](Stage& stage) { (stage.camera.*member)(); }); };
    using Camera = CInstantCamera;
    return {
        {"Attach", [](Stage& stage) { stage.camera.Attach(&stage.other, Cleanup_None); }},
        {"DestroyDevice", ask(&Camera::DestroyDevice)},
        {"DetachDevice", ask(&Camera::DetachDevice)},
        {"Open", ask(&Camera::Open)},
        {"Close", ask(&Camera::Close)},
        {"StartGrabbing", [](Stage& stage) { stage.camera.StartGrabbing(); }},
        {"StopGrabbing", ask(&Camera::StopGrabbing)},
        {"RetrieveResult",
         [](Stage& stage) {
             CGrabResultPtr result;
             stage.camera.RetrieveResult(1, result, kReturns);
         }},
        {"GrabOne",
         [](Stage& stage) {
             CGrabResultPtr result;
             stage.camera.GrabOne(100, result, kReturns);
         }},
        {"IsGrabbing", ask(&Camera::IsGrabbing)},
        {"GetGrabResultWaitObject", ask(&Camera::GetGrabResultWaitObject)},
        {"GetGrabStopWaitObject", ask(&Camera::GetGrabStopWaitObject)},
        {"GetLock", ask(&Camera::GetLock)},
        {"GetExtensionInterface", ask(&Camera::GetExtensionInterface)},
        {"IsCameraDeviceRemoved", ask(&Camera::IsCameraDeviceRemoved)},
        {"IsZelmoDeviceAttached", ask(&Camera::IsZelmoDeviceAttached)},
        {"HasOwnership", ask(&Camera::HasOwnership)},
        {"IsOpen", ask(&Camera::IsOpen)},
        {"GetDeviceInfo", ask(&Camera::GetDeviceInfo)},
        {"Is1394", ask(&Camera::Is1394)},
        {"IsGigE", ask(&Camera::IsGigE)},
        {"IsUsb", ask(&Camera::IsUsb)},
        {"IsCameraLink", ask(&Camera::IsCameraLink)},
        {"IsCxp", ask(&Camera::IsCxp)},
        {"IsMipex", ask(&Camera::IsMipex)},
        {"GetDevice", ask(&Camera::GetDevice)},
        {"GetNodeMap", ask(&Camera::GetNodeMap)},
        {"GetTLNodeMap", ask(&Camera::GetTLNodeMap)},
        {"GetSfncVersion", ask(&Camera::GetSfncVersion)},
        {"GetStreamGrabberNodeMap", ask(&Camera::GetStreamGrabberNodeMap)},
        {"GetEventGrabberNodeMap", ask(&Camera::GetEventGrabberNodeMap)},
        {"GetCameraEventWaitObject", ask(&Camera::GetCameraEventWaitObject)},
        {"GetInstantCameraNodeMap", ask(&Camera::GetInstantCameraNodeMap)},
        {"GetEmptyNodeMap", ask(&Camera::GetEmptyNodeMap)},
        {"GetQueuedBufferCount", ask(&Camera::GetQueuedBufferCount)},
        {"SetCameraContext", [](Stage& stage) { stage.camera.SetCameraContext(1); }},
        {"GetCameraContext", ask(&Camera::GetCameraContext)},
        {"SetBufferFactory", [](Stage& stage) { stage.camera.SetBufferFactory(nullptr); }},
        {"RegisterConfiguration",
         [](Stage& stage) {
             stage.camera.RegisterConfiguration(&stage.configuration, RegistrationMode_Append, Cleanup_None);
         }},
        {"DeregisterConfiguration", [](Stage& stage) { stage.camera.DeregisterConfiguration(&stage.configuration); }},
        {"RegisterImageEventHandler to append",
         [](Stage& stage) {
             stage.camera.RegisterImageEventHandler(&stage.image, RegistrationMode_Append, Cleanup_None);
         }},
        {"RegisterImageEventHandler to replace",
         [](Stage& stage) {
             stage.camera.RegisterImageEventHandler(&stage.image, RegistrationMode_ReplaceAll, Cleanup_None);
         }},
        {"DeregisterImageEventHandler", [](Stage& stage) { stage.camera.DeregisterImageEventHandler(&stage.image); }},
        {"RegisterCameraEventHandler",
         [](Stage& stage) {
             stage.camera.RegisterCameraEventHandler(&stage.event, "Width", 0, RegistrationMode_Append, Cleanup_None,
                                                     CameraEventAvailability_Optional);
         }},
        {"DeregisterCameraEventHandler",
         [](Stage& stage) { stage.camera.DeregisterCameraEventHandler(&stage.event, "Width"); }},
        {"CanWaitForFrameTriggerReady", ask(&Camera::CanWaitForFrameTriggerReady)},
        {"WaitForFrameTriggerReady", [](Stage& stage) { stage.camera.WaitForFrameTriggerReady(10, kReturns); }},
        {"ExecuteSoftwareTrigger", ask(&Camera::ExecuteSoftwareTrigger)},
        {"CreateGrabResultData", [](Stage& stage) { stage.camera.CreateGrabResultData()->Destroy(); }},
        {"CreateDeviceSpecificGrabResultData",
         [](Stage& stage) { stage.camera.CreateDeviceSpecificGrabResultData()->Destroy(); }},
        {"ProcessCameraEvents", [](Stage& stage) { stage.camera.GetExtensionInterface().ProcessCameraEvents(); }},
        {"JoinGrabLoopThread", [](Stage& stage) { stage.camera.GetExtensionInterface().JoinGrabLoopThread(); }},
        {"InternalShutdownEventHandlers", ask(&Camera::InternalShutdownEventHandlers)},
    };
}

/// Brings the operation about in its place. The device is open and, but for "thread" and "life", grabbed from.
using Place = std::function<void(Stage&, const std::function<void()>& call)>;

void OnWrite(Stage& stage, GenApi::ECallbackType when, const std::function<void()>& call) {
    stage.camera.Open();
    stage.camera.StartGrabbing();
    GenApi::INode* const node = stage.device.CStreamDevice::GetNodeMap()->GetNode("Width");
    const GenApi::CallbackHandleType handle = GenApi::Register(
        node, [&call](GenApi::INode*) { call(); }, when);
    GenApi::CIntegerPtr(node)->SetValue(32);
    node->DeregisterCallback(handle);
}

void OnConfiguration(Stage& stage, const std::string& notice, const std::function<void()>& call) {
    Diary diary;
    diary.on[notice] = [&](CInstantCamera&) { call(); };
    stage.camera.Open();
    stage.camera.RegisterConfiguration(&diary, RegistrationMode_Append, Cleanup_None);
    stage.camera.DeregisterConfiguration(&diary);
}

std::map<std::string, Place> Places() {
    return {
        {"thread",
         [](Stage& stage, const std::function<void()>& call) {
             stage.camera.Open();
             call();
         }},
        {"life",
         [](Stage& stage, const std::function<void()>& call) {
             stage.life.on["opened"] = [&](CInstantCamera&) {
                 stage.life.on.clear();
                 call();
             };
             try {
                 stage.camera.Open();
             } catch (const GenICam::GenericException&) { // it has lost its device
             }
         }},
        {"removed",
         [](Stage& stage, const std::function<void()>& call) {
             std::promise<void> done;
             stage.life.on["removed"] = [&](CInstantCamera&) {
                 call();
                 done.set_value();
             };
             stage.camera.Open();
             stage.camera.StartGrabbing();
             stage.device.Fire();
             done.get_future().wait();
             const GenICam::AutoLock lock(stage.camera.GetLock()); // the handler has left
         }},
        {"image",
         [](Stage& stage, const std::function<void()>& call) {
             stage.camera.RegisterImageEventHandler(&stage.life, RegistrationMode_Append, Cleanup_None);
             stage.life.on["image"] = [&](CInstantCamera&) {
                 stage.life.on.clear();
                 call();
             };
             stage.camera.StartGrabbing();
             CGrabResultPtr result;
             stage.camera.RetrieveResult(kPatience, result, kReturns);
         }},
        {"event",
         [](Stage& stage, const std::function<void()>& call) {
             const CHandlerRegistration handler = OnEvent(stage.camera, "EventValue", call);
             stage.camera.StartGrabbing();
             stage.events.Put(1);
             CGrabResultPtr result;
             stage.camera.RetrieveResult(kPatience, result, kReturns);
         }},
        // Notices of configurations are as the camera's life.
        {"registered", [](Stage& stage, const auto& call) { OnConfiguration(stage, "registered", call); }},
        {"deregistered", [](Stage& stage, const auto& call) { OnConfiguration(stage, "deregistered", call); }},
        {"outside",
         [](Stage& stage, const std::function<void()>& call) { OnWrite(stage, GenApi::cbPostOutsideLock, call); }},
        {"inside",
         [](Stage& stage, const std::function<void()>& call) { OnWrite(stage, GenApi::cbPostInsideLock, call); }},
        {"engine",
         [](Stage& stage, const std::function<void()>& call) {
             const std::thread::id here = std::this_thread::get_id();
             std::atomic<bool> isDone{false};
             stage.device.hook = [&, here](const std::string& name) {
                 if (name == "AcquisitionStop" && std::this_thread::get_id() != here) {
                     call();
                     isDone = true;
                 }
             };
             stage.camera.StartGrabbing(3);
             Eventually([&] { return isDone.load(); }); // else this thread may stop the acquisition first
             CGrabResultPtr result;
             while (stage.camera.RetrieveResult(kPatience, result, kReturns)) {
             }
             stage.device.hook = nullptr;
         }},
    };
}

struct Row {
    std::vector<std::string> operations;
    std::map<std::string, std::string> cells; // by place
};

std::vector<std::string> Split(const std::string& line) {
    std::vector<std::string> cells;
    std::istringstream stream(line.substr(1));
    for (std::string cell; std::getline(stream, cell, '|');) {
        cells.push_back(std::regex_replace(cell, std::regex("^ +| +$"), ""));
    }
    return cells;
}

std::vector<Row> ReadTable() {
    std::ifstream page(GRABBING_PAGE);
    std::vector<Row> rows;
    std::vector<std::string> head;
    for (std::string line; std::getline(page, line);) {
        if (head.empty()) {
            head = line.starts_with("| Operation | Camera lock |") ? Split(line) : head;
        } else if (!line.starts_with("|")) {
            break;
        } else if (!line.starts_with("|---")) {
            const std::vector<std::string> cells = Split(line);
            Row row;
            const std::regex name("`(\\w+)`( to \\w+)?");
            for (std::sregex_iterator at(cells[0].begin(), cells[0].end(), name), end; at != end; ++at) {
                row.operations.push_back((*at)[1].str() + (*at)[2].str());
            }
            for (std::size_t i = 2; i < cells.size(); ++i) {
                row.cells[head[i]] = cells[i];
            }
            rows.push_back(row);
        }
    }
    return rows;
}

/// Ends the process, with the name of the cell, when @p step takes too long.
template <class Step>
void Watch(const std::string& name, Step&& step) {
    auto done = std::async(std::launch::async, std::forward<Step>(step));
    if (done.wait_for(kLongest) != std::future_status::ready) {
        std::fprintf(stderr, "%s hangs\n", name.c_str());
        std::abort();
    }
    done.get();
}

class OperationTable : public testing::TestWithParam<const char*> {
protected:
    /// Of the table.
    static std::string ColumnOf(const std::string& place) {
        return place == "registered" || place == "deregistered" ? "life" : place;
    }
};

TEST_P(OperationTable, HoldsInPeace) {
    const auto operations = Operations();
    const std::string name = GetParam();
    const Place place = Places().at(name);
    unsigned cells = 0;
    for (const Row& row : ReadTable()) {
        const std::string cell = row.cells.at(ColumnOf(name));
        for (const std::string& operation : row.operations) {
            if (cell == "forbidden" || operation == "SetLockOverride") {
                continue;
            }
            SCOPED_TRACE(operation + ": " + cell);
            ASSERT_TRUE(operations.contains(operation));
            ++cells;
            Watch(operation + " in " + name, [&] {
                Stage stage;
                std::atomic<int> calls{0};
                std::atomic<int> refusals{0};
                place(stage, [&] {
                    ++calls;
                    try {
                        operations.at(operation)(stage);
                    } catch (const GenICam::GenericException&) {
                        ++refusals;
                    }
                    EXPECT_TRUE(cell != "later" || stage.camera.IsOpen());
                });
                EXPECT_GT(calls, 0);
                EXPECT_FALSE(cell == "later" && stage.camera.IsOpen());
                if (cell == "refused") {
                    EXPECT_EQ(refusals, calls);
                }
            });
        }
    }
    EXPECT_GE(cells, 7U);
}

TEST_P(OperationTable, NothingHangsWhileOthersUseTheCamera) {
    const auto operations = Operations();
    const std::string name = GetParam();
    const Place place = Places().at(name);
    for (const Row& row : ReadTable()) {
        for (const std::string& operation : row.operations) {
            if (row.cells.at(ColumnOf(name)) == "forbidden" || operation == "SetLockOverride" ||
                operation == "InternalShutdownEventHandlers") {
                continue;
            }
            Watch(operation + " in " + name + ", with others", [&] {
                Stage stage;
                const auto tolerate = [](auto&& step) {
                    try {
                        step();
                    } catch (const GenICam::GenericException&) { // another one was first
                    }
                };
                std::jthread life([&](const std::stop_token& stop) {
                    while (!stop.stop_requested()) {
                        tolerate([&] { stage.camera.StartGrabbing(); });
                        std::this_thread::yield();
                        tolerate([&] { stage.camera.StopGrabbing(); });
                        tolerate([&] { stage.camera.GetCameraContext(); });
                    }
                });
                std::jthread features([&](const std::stop_token& stop) {
                    GenApi::INode* const node = stage.device.CStreamDevice::GetNodeMap()->GetNode("Height");
                    for (std::int64_t height = 16; !stop.stop_requested(); height ^= 8) {
                        tolerate([&] { GenApi::CIntegerPtr(node)->SetValue(height); });
                        std::this_thread::yield();
                    }
                });
                for (int round = 0; round < 5; ++round) {
                    tolerate([&] { stage.camera.Open(); });
                    tolerate([&] { operations.at(operation)(stage); });
                    tolerate([&] { stage.camera.Attach(&stage.device, Cleanup_None); });
                }
                life.request_stop();
                life.join();
                features.request_stop();
                features.join();
                tolerate([&] { place(stage, [&] { tolerate([&] { operations.at(operation)(stage); }); }); });
            });
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Places, OperationTable,
                         testing::Values("thread", "life", "registered", "deregistered", "removed", "image", "event",
                                         "outside", "inside", "engine"),
                         [](const auto& given) { return std::string(given.param); });

} // namespace
