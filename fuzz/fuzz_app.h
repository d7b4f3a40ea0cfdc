#pragma once

// The one application object a fuzzer that needs widgets keeps for its whole run. Widgets
// are never shown, on the offscreen platform unless the environment chose another.
void ensureFuzzApplication();
