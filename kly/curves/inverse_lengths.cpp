#include "kly/curves/inverse_lengths.h"

#include <cmath>

#if defined(__x86_64__) && (defined(__GNUC__) || defined(__clang__))
#include <immintrin.h>
#define KLY_X86_64_KERNELS 1
#else
#define KLY_X86_64_KERNELS 0
#endif

namespace kly {
namespace curves {
namespace {

void Scalar(const double* s, double* k, uint32_t n) {
  for (uint32_t i = 0; i < n; ++i) k[i] = 1.0 / std::sqrt(s[i]);
}

#if KLY_X86_64_KERNELS
// Two at a time: every x86-64 processor has these.
void TwoWide(const double* s, double* k, uint32_t n) {
  const __m128d one = _mm_set1_pd(1.0);
  uint32_t i = 0;
  for (; i + 2 <= n; i += 2)
    _mm_storeu_pd(k + i, _mm_div_pd(one, _mm_sqrt_pd(_mm_loadu_pd(s + i))));
  Scalar(s + i, k + i, n - i);
}

// Eight at a time, the last few under a mask (masked lanes neither load nor raise flags).
__attribute__((target("avx512f"))) void EightWide(const double* s, double* k, uint32_t n) {
  const __m512d one = _mm512_set1_pd(1.0);
  for (uint32_t i = 0; i < n; i += 8) {
    const __mmask8 lanes = n - i >= 8 ? 0xFF : static_cast<__mmask8>((1u << (n - i)) - 1);
    const __m512d root = _mm512_maskz_sqrt_pd(lanes, _mm512_maskz_loadu_pd(lanes, s + i));
    _mm512_mask_storeu_pd(k + i, lanes, _mm512_maskz_div_pd(lanes, one, root));
  }
}

using Kernel = void (*)(const double*, double*, uint32_t);

Kernel ChooseKernel() {
  __builtin_cpu_init();
  return __builtin_cpu_supports("avx512f") ? EightWide : TwoWide;
}
#endif

}  // namespace

void InverseLengths(const double* s, double* k, uint32_t n) {
#if KLY_X86_64_KERNELS
  static const Kernel kernel = ChooseKernel();
  kernel(s, k, n);
#else
  Scalar(s, k, n);
#endif
}

}  // namespace curves
}  // namespace kly
