// SPDX-License-Identifier: Apache-2.0

// Grabs into memory of the application's own: here aligned to pages.
#include <zelmo/zelmo.h>

#include <cstdlib>
#include <iostream>

using namespace std::chrono_literals;

namespace {

class PageFactory : public Zelmo::IBufferFactory {
public:
    void AllocateBuffer(std::size_t sizeBytes, void** buffer, long& context) override {
        *buffer = std::aligned_alloc(4096, (sizeBytes + 4095) / 4096 * 4096); // null: one buffer less
        context = ++allocated;
    }
    void FreeBuffer(void* buffer, long /*context*/) override {
        std::free(buffer);
        ++freed;
    }
    void DestroyBufferFactory() override {} // only where the camera owns the factory
    int allocated = 0, freed = 0;
};

} // namespace

int main() {
    const Zelmo::ZelmoScope zelmo;
    try {
        PageFactory factory; // goes after the last result
        Zelmo::CInstantCamera camera(Zelmo::CTlFactory::GetInstance().CreateFirstDevice(Zelmo::CDeviceInfo()));
        camera.SetBufferFactory(&factory, Zelmo::Cleanup_None);
        camera.MaxNumBuffer.SetValue(4);
        for (const Zelmo::CGrabResultPtr& image : GrabResults(camera, 6, 5s)) {
            std::cout << "image " << image->GetImageNumber() << " in buffer " << image->GetBufferContext() << '\n';
        }
        camera.DestroyDevice();
        std::cout << factory.allocated << " buffers, " << factory.freed << " given back\n";
        return 0;
    } catch (const GenICam::GenericException& e) {
        std::cerr << e.GetDescription() << '\n';
        return 1;
    }
}
