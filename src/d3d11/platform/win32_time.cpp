// The performance counter and Sleep of the bounded GPU wait, on the
// monotonic clock.
#include <chrono>
#include <thread>

#include "d3d11/platform/windows_types.h"

BOOL QueryPerformanceFrequency(LARGE_INTEGER* frequency) {
    if (!frequency) return FALSE;
    frequency->QuadPart = 1000000000;  // the counter counts nanoseconds
    return TRUE;
}

BOOL QueryPerformanceCounter(LARGE_INTEGER* count) {
    if (!count) return FALSE;
    count->QuadPart = std::chrono::duration_cast<std::chrono::nanoseconds>(
                          std::chrono::steady_clock::now().time_since_epoch())
                          .count();
    return TRUE;
}

void Sleep(DWORD milliseconds) {
    // Sleep(0) gives up the rest of the time slice.
    if (milliseconds == 0)
        std::this_thread::yield();
    else
        std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
}
