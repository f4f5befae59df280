// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace GenICam {

class CLogHierarchy;

/// The two configurations of the log, as CLog tells them. To be run within CLogHierarchy::Configure or Start.
void ConfigureLogByDefault(CLogHierarchy& hierarchy);
bool ConfigureLogFromEnvironment(CLogHierarchy& hierarchy);

} // namespace GenICam
