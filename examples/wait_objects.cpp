// SPDX-License-Identifier: Apache-2.0

// Waits for several things at once: a worker's results and its end. No camera needed.
#include <zelmo/zelmo.h>

#include <iostream>
#include <thread>

int main() {
    const Zelmo::ZelmoScope zelmo;
    try {
        Zelmo::WaitObjectEx result = Zelmo::WaitObjectEx::Create();
        Zelmo::WaitObjectEx end = Zelmo::WaitObjectEx::Create();
        Zelmo::WaitObjects all; // members added early go first
        const unsigned int resultIndex = all.Add(result);
        const unsigned int endIndex = all.Add(end);

        std::thread worker([&] {
            for (int i = 0; i < 3; ++i) {
                Zelmo::WaitObject::Sleep(20);
                result.Signal(); // stays signaled until somebody resets it
            }
            end.Signal();
        });

        unsigned int index = 0;
        bool timedOut = false;
        int seen = 0;
        do {
            timedOut = !all.WaitForAny(5000, &index);
            if (!timedOut && index == resultIndex) {
                result.Reset();
                ++seen;
            }
        } while (!timedOut && index != endIndex);
        worker.join();
        std::cout << "woken " << seen << " times, then the worker " << (timedOut ? "was too slow\n" : "ended\n");
        return timedOut ? 1 : 0;
    } catch (const GenICam::GenericException& e) {
        std::cerr << e.GetDescription() << '\n';
        return 1;
    }
}
