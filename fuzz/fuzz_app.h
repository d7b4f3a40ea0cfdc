#pragma once

// The one application object a fuzzer that needs an event loop keeps for its whole run.
void ensureFuzzApplication();
