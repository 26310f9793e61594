// The host's utility library: texts, reports, engine memory, time and version checks.
//
// Reports go to the report sink of the host services (services.h); by default, one line on
// stderr. Replace the sink there to capture reports in a test or an embedding application.
#pragma once

#include <cstdint>
#include <exception>
#include <string>

// One argument of NUT_SubString: a text for ^1 / ^2, or a number for ^L1 / ^L2.
struct NUT_SubArg {
  NUT_SubArg() = default;
  NUT_SubArg(const char* t) : text(t) {}
  NUT_SubArg(int32_t n) : number(n) {}
  const char* text = nullptr;
  int32_t number = 0;
};

// Status of NUT_SubString when the template is null or the buffer has no room at all.
constexpr int32_t NUT_kErrBadArgument = 0x0C01;

// Writes `tmpl` into `buffer` with ^1 and ^2 replaced by the texts of the arguments and ^L1 and
// ^L2 by their numbers in decimal. The result is cut to `capacity` - 1 characters and always
// terminated; cutting is not a failure. A placeholder whose argument is absent becomes "".
int32_t NUT_SubString(char* buffer, uint32_t capacity, const char* tmpl, NUT_SubArg arg1 = {},
                      NUT_SubArg arg2 = {});

// Hands `text` to the report sink under `id`; `flags` are passed as they stand.
void NUTp_ReportErrString(uint32_t id, uint32_t flags, const char* text);

// Reports the text in the calling thread's logging buffer.
void NUTp_ReportError(uint32_t id, uint32_t flags);

void NUTp_SetThreadLastError(int32_t value);
int32_t NUTp_GetThreadLastError();

constexpr uint32_t NUT_kLoggingBufferSize = 1024;
// The calling thread's logging buffer, NUT_kLoggingBufferSize writable bytes.
char* NUTp_GetThreadLoggingBuffer();

// "key=default text" resolves to the default text; a text without '=' to itself.
std::string NUT_ZStringToMBString(const char* key);

// Reports a standard exception ("<what()>") and returns the failure number for it.
constexpr int32_t NUT_kErrStdException = 0x0C02;
constexpr int32_t NUT_kErrBadAlloc = 0x0C03;
int32_t NUT_TranslateAndReportException(const std::exception& e);

// Reports a failed internal check; the report id is NUT_kFailedVerificationId.
constexpr uint32_t NUT_kFailedVerificationId = 0x0C0000;
void NUT_ReportFailedVerification(int32_t, int32_t line, int32_t, const char* text);

// A string table looked up by number.
struct NUT_StringTable {
  const char* const* entries;
  int32_t count;
};
// Entry `index` of `table`; "" for an index outside it.
const char* NUT_ZLookupLStrCache(const NUT_StringTable& table, int32_t index, int32_t, int32_t);

// Zero-filled memory for the engine, or null when the allocation fails (or the host services'
// allocation hook refuses it). `tag` and `description` name the allocation.
void* NUT_AllocatePtrClear(uint32_t bytes, uint32_t tag, const char* description);
void NUT_FreePtr(void* pointer);

// Seconds since boot from a monotonic clock (or the host services' clock).
void NUT_SecondsSinceBoot(double* seconds);

int32_t NUT_CheckVersions(uint32_t report_id, uint32_t version);
