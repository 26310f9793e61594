#include "kly/tess/failure.h"

#include "kly/host/nut.h"
#include "kly/tess/triangulate.h"

std::atomic<int32_t> gTessLiveBlocks{0};

namespace {

// Room for the longest engine text with its prefix; longer texts are cut, never overrun.
constexpr uint32_t kFailureTextBytes = 256;
constexpr uint32_t kOutOfMemoryWordBytes = 128;

[[noreturn]] void ThrowWithPrefix(const char* text) {
  char buffer[kFailureTextBytes];
  const int32_t status = NUT_SubString(buffer, sizeof buffer, "(triangulate) ^1", text);
  if (status != 0) throw status;
  throw TriangleFailure(buffer);
}

}  // namespace

void TessFail(const char* text) {
  ThrowWithPrefix(text);
}

void TessFail(const char* text, int32_t number) {
  // The number goes into the text first, so that the prefix pass sees a plain text.
  char numbered[kFailureTextBytes];
  const int32_t status = NUT_SubString(numbered, sizeof numbered, text, NUT_SubArg(number));
  if (status != 0) throw status;
  ThrowWithPrefix(numbered);
}

void TessFailOutOfMemory() {
  char word[kOutOfMemoryWordBytes];
  const int32_t status = NUT_SubString(word, sizeof word, "out of memory");
  if (status != 0) throw status;
  ThrowWithPrefix(word);
}

void TessFree(void* block) {
  if (block == nullptr) return;
  NUT_FreePtr(block);
  gTessLiveBlocks--;
}
