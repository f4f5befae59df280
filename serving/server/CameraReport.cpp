// SPDX-License-Identifier: Apache-2.0
#include "CameraReport.h"

#include "NetworkInterface.h"
#include "ServedCamera.h"

#include <gigevision/Gvcp.h>

#include <cstdio>
#include <map>
#include <string_view>
#include <utility>

namespace Serving {
namespace {

EFault FaultAt(std::size_t index) {
    return static_cast<EFault>(index);
}

std::string MacText(std::uint64_t mac) {
    char text[18];
    std::snprintf(text, sizeof text, "%02x:%02x:%02x:%02x:%02x:%02x", static_cast<unsigned>(mac >> 40 & 0xFF),
                  static_cast<unsigned>(mac >> 32 & 0xFF), static_cast<unsigned>(mac >> 24 & 0xFF),
                  static_cast<unsigned>(mac >> 16 & 0xFF), static_cast<unsigned>(mac >> 8 & 0xFF),
                  static_cast<unsigned>(mac & 0xFF));
    return text;
}

std::string NumberText(double value) {
    char text[32];
    std::snprintf(text, sizeof text, "%g", value);
    return text;
}

/// The parameter of a fault as people write it: status codes in hexadecimal.
std::string ParameterText(EFault fault, std::uint32_t value) {
    if (std::string_view(FaultInfos()[static_cast<std::size_t>(fault)].parameter) != "status code") {
        return std::to_string(value);
    }
    char text[16];
    std::snprintf(text, sizeof text, "0x%04X", value);
    return text;
}

CJson PlacesJson(const std::vector<CFaultPlace>& places) {
    CJson list = CJson::array();
    for (const CFaultPlace& place : places) {
        CJson one = {{"block", JsonCount(place.block)}};
        if (place.packet != CFaultPlace::kAnyPacket) {
            one["packet"] = place.packet;
        }
        list.push_back(one);
    }
    return list;
}

std::string PlacesText(const std::vector<CFaultPlace>& places) {
    std::string text;
    for (const CFaultPlace& place : places) {
        text += "@" + std::to_string(place.block);
        text += place.packet != CFaultPlace::kAnyPacket ? ":" + std::to_string(place.packet) : "";
    }
    return text.empty() ? "-" : text;
}

CJson FaultJson(const CServingFaults& faults, EFault fault) {
    const CFaultSetting setting = faults.Get(fault);
    return {{"name", OptionName(fault)},
            {"rate", setting.rate},
            {"parameter", setting.parameter},
            {"times_left", setting.left},
            {"places", PlacesJson(setting.places)},
            {"count", JsonCount(faults.Count(fault))}};
}

const std::vector<std::string> kFaultHeads{"SERIAL", "FAULT", "RATE", "PARAMETER", "LEFT", "PLACES", "COUNT"};

std::vector<std::string> FaultRow(const CServedCamera& camera, const CServingFaults& faults, EFault fault) {
    const CFaultSetting setting = faults.Get(fault);
    return {camera.SerialNumber(),
            OptionName(fault),
            NumberText(setting.rate),
            ParameterText(fault, setting.parameter),
            setting.left == 0 ? "-" : std::to_string(setting.left),
            PlacesText(setting.places),
            std::to_string(faults.Count(fault))};
}

/// Calls @p action for each fault of each camera that is on or was made.
template <class Action>
void ForEachFault(CServedCamera& camera, Action action) {
    for (std::size_t i = 0; i < kFaults; ++i) {
        if (camera.Faults().IsOn(FaultAt(i)) || camera.Faults().Count(FaultAt(i)) != 0) {
            action(FaultAt(i));
        }
    }
}

/// The numbers of one camera, or of several together, under their names in JSON.
using CNumbers = std::vector<std::pair<const char*, std::uint64_t>>;

CNumbers NumbersOf(const CServedCounts& counts) {
    return {{"commands", counts.control.commands},
            {"refused_commands", counts.control.refused},
            {"dropped_commands", counts.control.dropped},
            {"repeated_commands", counts.control.repeated},
            {"held_back_answers", counts.heldBack},
            {"expired_heartbeats", counts.control.heartbeatsExpired},
            {"events", counts.control.events},
            {"resent_events", counts.control.eventsResent},
            {"dropped_events", counts.control.eventsDropped},
            {"actions", counts.control.actions},
            {"blocks", counts.stream.blocks},
            {"lost_blocks", counts.stream.lostBlocks},
            {"unsent_blocks", counts.stream.unsentBlocks},
            {"packets", counts.stream.packets},
            {"sent_bytes", counts.stream.bytes},
            {"resend_requests", counts.stream.resendRequests},
            {"resent_packets", counts.stream.resentPackets},
            {"refused_packets", counts.stream.refusedPackets},
            {"oversized_packets", counts.stream.oversized},
            {"send_errors", counts.stream.sendErrors}};
}

/// All numbers of @p cameras together, and how often each fault was made.
CJson CountsJson(CServedCameras cameras) {
    CNumbers sums = NumbersOf({});
    std::map<std::string, std::uint64_t> faults;
    for (const auto& camera : cameras) {
        const CNumbers numbers = NumbersOf(camera->Counts());
        for (std::size_t i = 0; i < sums.size(); ++i) {
            sums[i].second += numbers[i].second;
        }
        ForEachFault(*camera, [&](EFault fault) {
            faults[FaultInfos()[static_cast<std::size_t>(fault)].name] += camera->Faults().Count(fault);
        });
    }
    CJson json = CJson::object();
    for (const auto& [name, value] : sums) {
        json[name] = JsonCount(value);
    }
    json["faults"] = CJson::object();
    for (const auto& [name, count] : faults) {
        json["faults"][name] = JsonCount(count);
    }
    return json;
}

/// What one camera is doing and has done.
CJson StatusJson(const std::unique_ptr<CServedCamera>& camera) {
    const CEndpoint primary = camera->Device().Primary();
    CJson json = {{"device", camera->SerialNumber()},
                  {"address", AddressText(camera->Port().Addressing().address)},
                  {"controlled_by", primary.port == 0 ? "" : Text(primary)}};
    json.update(CountsJson({&camera, 1}));
    return json;
}

const std::vector<std::string> kCountHeads{"SERIAL", "ADDRESS", "CONTROLLED BY", "COMMANDS", "DROPPED",
                                           "BLOCKS", "PACKETS", "RESENT",        "FAULTS"};

std::vector<std::string> CountRow(CServedCamera& camera) {
    const CServedCounts counts = camera.Counts();
    std::uint64_t faults = 0;
    ForEachFault(camera, [&](EFault fault) { faults += camera.Faults().Count(fault); });
    const CEndpoint primary = camera.Device().Primary();
    return {camera.SerialNumber(),
            AddressText(camera.Port().Addressing().address),
            primary.port == 0 ? "-" : Text(primary),
            std::to_string(counts.control.commands),
            std::to_string(counts.control.dropped + counts.heldBack),
            std::to_string(counts.stream.blocks),
            std::to_string(counts.stream.packets),
            std::to_string(counts.stream.resentPackets),
            std::to_string(faults)};
}

void ReportCounts(CReport& report, CServedCameras cameras) {
    CReport::CRows rows{kCountHeads};
    for (const auto& camera : cameras) {
        rows.push_back(CountRow(*camera));
    }
    report.Table(rows);
}

} // namespace

void ReportFaultList(CReport& report) {
    CReport::CRows rows{{"FAULT", "PARAMETER", "DEFAULT", "RANGE", "WHAT HAPPENS"}};
    CJson list = CJson::array();
    for (std::size_t i = 0; i < kFaults; ++i) {
        const CFaultInfo& info = FaultInfos()[i];
        const bool hasParameter = *info.parameter != '\0';
        CJson one = {{"name", OptionName(FaultAt(i))}, {"feature", info.name}, {"text", info.text}};
        if (hasParameter) {
            one.update(
                {{"parameter", info.parameter}, {"default", info.initial}, {"min", info.min}, {"max", info.max}});
        }
        list.push_back(one);
        rows.push_back(
            {OptionName(FaultAt(i)), hasParameter ? info.parameter : "-",
             hasParameter ? ParameterText(FaultAt(i), info.initial) : "-",
             hasParameter ? ParameterText(FaultAt(i), info.min) + " to " + ParameterText(FaultAt(i), info.max) : "-",
             info.text});
    }
    report.Table(rows);
    report.Document({{"faults", list}});
}

void ReportServing(CReport& report, CServedCameras cameras, const CNetworkInterface& interface, bool isSchema11) {
    CReport::CRows rows{{"SERIAL", "NAME", "ADDRESS", "PORT", "MAC", "INTERFACE"}};
    for (const auto& camera : cameras) {
        const CAddressing& addressing = camera->Port().Addressing();
        const std::string name = camera->Device().UserName();
        const std::string address = AddressText(addressing.address);
        const std::string mac = MacText(camera->Device().MacAddress());
        rows.push_back({camera->SerialNumber(), name.empty() ? "-" : name, address,
                        std::to_string(GigEVision::kGvcpPort), mac, interface.name});
        report.Event("serving", {{"device", camera->SerialNumber()},
                                 {"cameras", cameras.size()},
                                 {"serial_number", camera->SerialNumber()},
                                 {"user_defined_name", name},
                                 {"address", address},
                                 {"subnet_mask", AddressText(addressing.mask)},
                                 {"port", GigEVision::kGvcpPort},
                                 {"mac_address", mac},
                                 {"interface", interface.name},
                                 {"description_schema", isSchema11 ? "1.1" : "1.0"}});
    }
    report.Table(rows);
}

void ReportStatus(CReport& report, CServedCameras cameras) {
    for (const auto& camera : cameras) {
        report.Event("status", StatusJson(camera));
    }
    ReportCounts(report, cameras);
}

void ReportFaults(CReport& report, CServedCameras cameras) {
    CReport::CRows rows{kFaultHeads};
    for (const auto& camera : cameras) {
        CJson list = CJson::array();
        ForEachFault(*camera, [&](EFault fault) {
            list.push_back(FaultJson(camera->Faults(), fault));
            rows.push_back(FaultRow(*camera, camera->Faults(), fault));
        });
        report.Event("faults", {{"device", camera->SerialNumber()}, {"faults", list}});
    }
    report.Table(rows);
}

void ReportFault(CReport& report, CServedCamera& camera, const CFaultOrder& order) {
    CJson json = {{"device", camera.SerialNumber()}};
    json.update(FaultJson(camera.Faults(), order.fault));
    report.Event("fault", json);
    report.Table({FaultRow(camera, camera.Faults(), order.fault)});
}

void ReportSummary(CReport& report, CServedCameras cameras) {
    CJson json = CountsJson(cameras);
    json["cameras"] = CJson::array();
    for (const auto& camera : cameras) {
        json["cameras"].push_back(StatusJson(camera));
    }
    report.Event("summary", json);
    ReportCounts(report, cameras);
}

} // namespace Serving
