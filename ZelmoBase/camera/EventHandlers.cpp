// SPDX-License-Identifier: Apache-2.0
#include <zelmo/ConfigurationEventHandler.h>
#include <zelmo/ImageEventHandler.h>

namespace Zelmo {

void CConfigurationEventHandler::DestroyConfiguration() {
    delete this;
}
CConfigurationEventHandler::~CConfigurationEventHandler() = default;

void CImageEventHandler::DestroyImageEventHandler() {
    delete this;
}
CImageEventHandler::~CImageEventHandler() = default;

} // namespace Zelmo
