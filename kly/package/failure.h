// Failure numbers the library originates, and the helpers every subsystem shares to raise them.
//
// A failure leaves a function only by exception, as an int32_t. Guarded stages catch
// `int32_t` and `std::exception&` (the latter through NUT_TranslateAndReportException),
// release their temporaries and throw the number again.
#pragma once

#include <cmath>
#include <cstdint>

#include "kly/host/ort.h"

constexpr int32_t KLY_kErrIndex = 3;
constexpr int32_t KLY_kErrVersion = 7;
constexpr int32_t KLY_kErrTessellation = 10;
constexpr int32_t KLY_kErrNormalisation = 0x110B;
constexpr int32_t KLY_kErrBirth = 0x5802;
constexpr int32_t KLY_kErrOutline = 0x5803;
constexpr int32_t KLY_kErrTinyTriangles = 0x5804;

// The maths library's report id for the zero-vector failure, and its string-table entry.
constexpr uint32_t KLY_kNormalisationReportId = 0x110034;
constexpr int32_t KLY_kNormalisationMessageEntry = 38;

// Reports the maths library's zero-vector message and throws 4363.
[[noreturn]] void KLY_FailNormalisation();

// Throws a non-zero host status as it stands.
inline void KLY_Check(int32_t status) {
  if (status != 0) throw status;
}

// Reports `message` as a failed verification and throws 3 (index out of range).
[[noreturn]] void KLY_FailIndex(const char* message);

// The library's one normalisation: s = x^2 + y^2 + z^2; below 1e-48 it fails with 4363,
// otherwise the components are scaled by 1.0 / sqrt(s).
inline void KLY_Normalize(double& x, double& y, double& z) {
  const double s = x * x + y * y + z * z;
  if (1e-48 > s) KLY_FailNormalisation();
  const double k = 1.0 / std::sqrt(s);
  x *= k;
  y *= k;
  z *= k;
}

inline void KLY_Normalize(ORT_Vector3T<double>& v) {
  KLY_Normalize(v.x, v.y, v.z);
}
