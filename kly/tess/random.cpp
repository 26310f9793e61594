// The engine's random seed.
#include "kly/tess/construction.h"

std::atomic<uint32_t> gTessRandomSeed{1};
