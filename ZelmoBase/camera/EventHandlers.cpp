// SPDX-License-Identifier: Apache-2.0
#include <zelmo/CameraEventHandler.h>
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

void CCameraEventHandler::DestroyCameraEventHandler() {
    delete this;
}
CCameraEventHandler::~CCameraEventHandler() = default;

} // namespace Zelmo
