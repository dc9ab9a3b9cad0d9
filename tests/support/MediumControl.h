#pragma once

#include <atomic>
#include <cstdint>

/// What a test tells the program behind a FuseMedium, and what it hears from it: memory that both
/// have mapped. Zeros are a medium without faults.
struct MediumControl
{
    std::atomic<bool> writeBack = false; ///< before mounting: the kernel hands writes on later

    // At any time.
    std::atomic<bool> failsWrites = false;
    std::atomic<std::int64_t> failWritesAt = 0; ///< from this value of `written` on
    std::atomic<int> writeError = 0;            ///< an errno value; 0 ends the program instead
    std::atomic<int> flushError = 0;            ///< an errno value; 0 for none
    std::atomic<std::int64_t> capacity = 0;     ///< bytes; 0 for what the folder below takes
    std::atomic<bool> tellsSpace = false;       ///< the two below instead of the truth
    std::atomic<std::int64_t> toldTotal = 0;
    std::atomic<std::int64_t> toldFree = 0;
    std::atomic<std::int64_t> bytesPerSecond = 0; ///< 0 for no limit

    std::atomic<std::int64_t> written = 0; ///< heard: bytes that reached the medium
};
