// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Console.h"
#include "LineInput.h"
#include "ServeOptions.h"
#include "ServedCamera.h"
#include "ServingNetwork.h"

#include <serving/stream/RateBudgets.h>

#include <memory>
#include <vector>

namespace Serving {

/// Serves cameras until it is told to stop: by SIGINT or SIGTERM, which the caller has blocked in all threads, or by a
/// line on standard input.
/// Owns:    network, cameras.
/// Borrows: the report.
/// Threads: the one that made it, which is the control thread of all cameras.
class CServer {
public:
    /// Once it is made all sockets are open. @throws CServeError; then no address is left added.
    CServer(const CServeOptions& options, CReport& report);
    ~CServer();

    EExit Run(); ///< @return Interrupted or Terminated after a signal, Done after "quit".

private:
    void AddCameras(const CServeOptions& options);
    void TellWhatIsServed(const CServeOptions& options);
    void OnSignal();
    void Round();

    CReport& m_report;
    CServingNetwork m_network;
    CRateBudgets m_rates;
    std::vector<std::unique_ptr<CServedCamera>> m_cameras;
    CDescriptor m_signals;
    EExit m_exit = EExit::Done;
    bool m_isStopping = false;
};

/// Blocks the signals that CServer hears, for this thread and those that it starts.
void BlockStopSignals();

} // namespace Serving
