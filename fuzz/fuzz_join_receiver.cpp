#include "fuzz_app.h"
#include "receiver_harness.h"

// What the joiner's screen does with whatever a host sends, between its own clicks.
extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    ensureFuzzApplication();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    ReceiverHarness::run(MatchSide::Join, data, size);
    return 0;
}
