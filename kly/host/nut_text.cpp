// Texts and reports of the utility library.
#include <cstdio>
#include <cstring>
#include <new>
#include <string>

#include "kly/host/nut.h"
#include "kly/host/services.h"

namespace {

// Appends `text` to the buffer while room is left; the final byte is kept for the terminator.
struct BoundedWriter {
  char* out;
  uint32_t capacity;
  uint32_t used = 0;

  void Put(const char* text) {
    for (; text && *text && used + 1 < capacity; ++text) out[used++] = *text;
  }
  void Finish() { out[used] = 0; }
};

const NUT_SubArg& ArgumentNumber(char digit, const NUT_SubArg& a1, const NUT_SubArg& a2) {
  return digit == '1' ? a1 : a2;
}

thread_local int32_t thread_last_error = 0;
thread_local char thread_logging_buffer[NUT_kLoggingBufferSize];

}  // namespace

int32_t NUT_SubString(char* buffer, uint32_t capacity, const char* tmpl, NUT_SubArg arg1,
                      NUT_SubArg arg2) {
  if (buffer == nullptr || capacity == 0 || tmpl == nullptr) return NUT_kErrBadArgument;
  BoundedWriter writer{buffer, capacity};
  for (const char* p = tmpl; *p;) {
    if (p[0] == '^' && (p[1] == '1' || p[1] == '2')) {
      writer.Put(ArgumentNumber(p[1], arg1, arg2).text);
      p += 2;
    } else if (p[0] == '^' && p[1] == 'L' && (p[2] == '1' || p[2] == '2')) {
      char digits[16];
      std::snprintf(digits, sizeof digits, "%d",
                    static_cast<int>(ArgumentNumber(p[2], arg1, arg2).number));
      writer.Put(digits);
      p += 3;
    } else {
      const char one[2] = {*p, 0};
      writer.Put(one);
      ++p;
    }
  }
  writer.Finish();
  return 0;
}

void NUTp_ReportErrString(uint32_t id, uint32_t flags, const char* text) {
  kly::host::Services().report(id, flags, text);
}

void NUTp_ReportError(uint32_t id, uint32_t flags) {
  kly::host::Services().report(id, flags, thread_logging_buffer);
}

void NUTp_SetThreadLastError(int32_t value) {
  thread_last_error = value;
}
int32_t NUTp_GetThreadLastError() {
  return thread_last_error;
}
char* NUTp_GetThreadLoggingBuffer() {
  return thread_logging_buffer;
}

std::string NUT_ZStringToMBString(const char* key) {
  if (key == nullptr) return std::string();
  const char* equals = std::strchr(key, '=');
  return std::string(equals ? equals + 1 : key);
}

int32_t NUT_TranslateAndReportException(const std::exception& e) {
  const bool out_of_memory = dynamic_cast<const std::bad_alloc*>(&e) != nullptr;
  NUTp_ReportErrString(0x0C0001, 8, e.what());
  return out_of_memory ? NUT_kErrBadAlloc : NUT_kErrStdException;
}

void NUT_ReportFailedVerification(int32_t, int32_t, int32_t, const char* text) {
  NUTp_ReportErrString(NUT_kFailedVerificationId, 8, text);
}

const char* NUT_ZLookupLStrCache(const NUT_StringTable& table, int32_t index, int32_t, int32_t) {
  if (index < 0 || index >= table.count) return "";
  return table.entries[index];
}
