// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "NetworkInterface.h"
#include "Report.h"

#include <memory>
#include <span>

namespace Serving {

class CServedCamera;
struct CFaultOrder;

using CServedCameras = std::span<const std::unique_ptr<CServedCamera>>;

void ReportFaultList(CReport& report); ///< What can be asked for, for --list-faults.
void ReportServing(CReport& report, CServedCameras cameras, const CNetworkInterface& interface, bool isSchema11);
void ReportStatus(CReport& report, CServedCameras cameras);
void ReportFaults(CReport& report, CServedCameras cameras); ///< Those that are on or were made.
void ReportFault(CReport& report, CServedCamera& camera, const CFaultOrder& order);
void ReportSummary(CReport& report, CServedCameras cameras);

} // namespace Serving
