#include "VectorRowLoops.h"

// Builds asked for plain loops leave them out, so the plain path is the one run.
#if defined(__x86_64__) && !defined(BRISAVANE_PLAIN_LOOPS)

// GCC 12's own AVX-512 header trips its uninitialized-value warning on the
// placeholder operands of its conversions (GCC bug 105593); the header is
// fine, so the warning is silenced for it alone.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#include <immintrin.h>
#pragma GCC diagnostic pop

#define BRISAVANE_AVX512 __attribute__((target("avx512f,avx512bw,avx512dq,avx512vl")))

namespace {
constexpr std::size_t kBlock = 8;  // pixels, one gain each in a vector of 8 doubles

// 8-bit samples: a block is 24 bytes.
struct EightBit {
    static constexpr std::size_t kSampleBytes = 1;
    static constexpr double kCeiling = 255.0;

    // The green samples of a block's 8 pixels of a card row (bytes 1, 4, ...,
    // 22 of its 24), as doubles.
    BRISAVANE_AVX512 static __m512d Greens(const std::uint8_t* card) {
        const __m128i low = _mm_loadu_si128(reinterpret_cast<const __m128i*>(card));
        const __m128i high = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(card + 16));
        const __m128i fromLow =
            _mm_setr_epi8(1, 4, 7, 10, 13, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1);
        const __m128i fromHigh =
            _mm_setr_epi8(-1, -1, -1, -1, -1, 0, 3, 6, -1, -1, -1, -1, -1, -1, -1, -1);
        const __m128i greens =
            _mm_or_si128(_mm_shuffle_epi8(low, fromLow), _mm_shuffle_epi8(high, fromHigh));
        return _mm512_cvtepi32_pd(_mm256_cvtepu8_epi32(greens));
    }

    // Eight consecutive samples as doubles.
    BRISAVANE_AVX512 static __m512d Load(const std::uint8_t* at) {
        const __m128i bytes = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(at));
        return _mm512_cvtepi32_pd(_mm256_cvtepu8_epi32(bytes));
    }

    // Eight samples truncated toward zero; every one is in 0..255.
    BRISAVANE_AVX512 static void Store(std::uint8_t* at, __m512d samples) {
        const __m128i bytes = _mm256_cvtepi32_epi8(_mm512_cvttpd_epi32(samples));
        _mm_storel_epi64(reinterpret_cast<__m128i*>(at), bytes);
    }
};

// 16-bit samples: a block is 48 bytes; samples turned round where the file's
// order isn't the host's.
template <bool Swap>
struct SixteenBit {
    static constexpr std::size_t kSampleBytes = 2;
    static constexpr double kCeiling = 65535.0;

    BRISAVANE_AVX512 static __m128i TurnedRound(__m128i samples) {
        return _mm_or_si128(_mm_slli_epi16(samples, 8), _mm_srli_epi16(samples, 8));
    }

    // Samples 1, 4, ..., 22 of the block's 24; the load leaves out the bytes
    // after them, which may lie past the row.
    BRISAVANE_AVX512 static __m512d Greens(const std::uint8_t* card) {
        const __m512i samples = _mm512_maskz_loadu_epi16(0xFFFFFF, card);
        const __m512i which = _mm512_set_epi16(0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
                                               0, 0, 0, 0, 0, 0, 22, 19, 16, 13, 10, 7, 4, 1);
        __m128i greens = _mm512_castsi512_si128(_mm512_permutexvar_epi16(which, samples));
        if constexpr (Swap) greens = TurnedRound(greens);
        return _mm512_cvtepi32_pd(_mm256_cvtepu16_epi32(greens));
    }

    BRISAVANE_AVX512 static __m512d Load(const std::uint8_t* at) {
        __m128i samples = _mm_loadu_si128(reinterpret_cast<const __m128i*>(at));
        if constexpr (Swap) samples = TurnedRound(samples);
        return _mm512_cvtepi32_pd(_mm256_cvtepu16_epi32(samples));
    }

    // Every sample is in 0..65535.
    BRISAVANE_AVX512 static void Store(std::uint8_t* at, __m512d samples) {
        __m128i words = _mm256_cvtepi32_epi16(_mm512_cvttpd_epi32(samples));
        if constexpr (Swap) words = TurnedRound(words);
        _mm_storeu_si128(reinterpret_cast<__m128i*>(at), words);
    }
};

// The formula's Min and Max are the processor's: max(a, b) gives b unless
// a > b, min(a, b) gives b unless a < b. A gain without a value is taken to
// 0 first, which is what the formula makes of it (its product has no value
// and stores 0), and every gain is held one above the ceiling: that changes
// no output, since any gain from there up takes a sample of 1 or more to the
// ceiling and leaves 0 at 0, but it keeps an infinite gain on a sample of 0
// from making infinity x 0, so no product is without a value and none needs
// a second test.
// Eight consecutive dark samples as doubles.
BRISAVANE_AVX512 __m512d DarkSamples(const std::uint16_t* at) {
    const __m128i samples = _mm_loadu_si128(reinterpret_cast<const __m128i*>(at));
    return _mm512_cvtepi32_pd(_mm256_cvtepu16_epi32(samples));
}

template <class Depth, bool Dark>
BRISAVANE_AVX512 std::size_t CorrectInBlocks(const double* gains, const std::uint16_t* dark,
                                             const std::uint8_t* from, std::uint8_t* to,
                                             std::size_t pixels) {
    const __m512d zero = _mm512_setzero_pd();
    const __m512d ceiling = _mm512_set1_pd(Depth::kCeiling);
    const __m512d held = _mm512_set1_pd(Depth::kCeiling + 1.0);
    // Which pixel's gain each of the block's 24 samples takes, 8 samples at a time.
    const __m512i spread[3] = {_mm512_setr_epi64(0, 0, 0, 1, 1, 1, 2, 2),
                               _mm512_setr_epi64(2, 3, 3, 3, 4, 4, 4, 5),
                               _mm512_setr_epi64(5, 5, 6, 6, 6, 7, 7, 7)};
    constexpr std::size_t w = Depth::kSampleBytes;
    const std::size_t blocks = pixels / kBlock;
    for (std::size_t b = 0; b < blocks; ++b) {
        const std::size_t i = b * kBlock * 3 * w;
        const __m512d given = _mm512_loadu_pd(gains + b * kBlock);
        const __m512d gain = _mm512_min_pd(_mm512_max_pd(given, zero), held);
        for (std::size_t k = 0; k < 3; ++k) {
            __m512d samples = Depth::Load(from + i + 8 * k * w);
            // The sample less the dark, held at 0: max gives 0 unless the difference is above.
            if constexpr (Dark)
                samples = _mm512_max_pd(
                    _mm512_sub_pd(samples, DarkSamples(dark + b * kBlock * 3 + 8 * k)), zero);
            const __m512d product = _mm512_mul_pd(_mm512_permutexvar_pd(spread[k], gain), samples);
            Depth::Store(to + i + 8 * k * w, _mm512_min_pd(product, ceiling));
        }
    }
    return blocks * kBlock;
}

// Max(ratio, 1) is the processor's: it gives 1 unless the ratio is greater,
// which is how the formula treats a ratio without a value.
template <class Depth>
BRISAVANE_AVX512 std::size_t GreenGains(double targetLevel, const std::uint8_t* card,
                                        std::size_t pixels, double* gains) {
    const __m512d target = _mm512_set1_pd(targetLevel);
    const __m512d one = _mm512_set1_pd(1.0);
    const std::size_t blocks = pixels / kBlock;
    for (std::size_t b = 0; b < blocks; ++b) {
        const __m512d ratio =
            _mm512_div_pd(target, Depth::Greens(card + b * kBlock * 3 * Depth::kSampleBytes));
        _mm512_storeu_pd(gains + b * kBlock, _mm512_max_pd(ratio, one));
    }
    return blocks * kBlock;
}
}  // namespace

std::size_t GreenGainsInBlocks(double target, const std::uint8_t* card, std::size_t sampleBytes,
                               bool swapped, std::size_t pixels, double* gains) {
    if (sampleBytes == 1) return GreenGains<EightBit>(target, card, pixels, gains);
    return swapped ? GreenGains<SixteenBit<true>>(target, card, pixels, gains)
                   : GreenGains<SixteenBit<false>>(target, card, pixels, gains);
}

bool VectorRowLoopsAvailable() {
    static const bool available =
        __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512bw") &&
        __builtin_cpu_supports("avx512dq") && __builtin_cpu_supports("avx512vl");
    return available;
}

namespace {
template <bool Dark>
std::size_t CorrectBlocksOf(const double* gains, const std::uint16_t* dark,
                            const std::uint8_t* from, std::uint8_t* to, std::size_t pixels,
                            std::size_t sampleBytes, bool swapped) {
    if (sampleBytes == 1) return CorrectInBlocks<EightBit, Dark>(gains, dark, from, to, pixels);
    return swapped ? CorrectInBlocks<SixteenBit<true>, Dark>(gains, dark, from, to, pixels)
                   : CorrectInBlocks<SixteenBit<false>, Dark>(gains, dark, from, to, pixels);
}
}  // namespace

std::size_t CorrectBlocks(const double* gains, const std::uint16_t* dark, const std::uint8_t* from,
                          std::uint8_t* to, std::size_t pixels, std::size_t sampleBytes,
                          bool swapped) {
    return dark ? CorrectBlocksOf<true>(gains, dark, from, to, pixels, sampleBytes, swapped)
                : CorrectBlocksOf<false>(gains, dark, from, to, pixels, sampleBytes, swapped);
}

#else

bool VectorRowLoopsAvailable() {
    return false;
}

std::size_t CorrectBlocks(const double*, const std::uint16_t*, const std::uint8_t*, std::uint8_t*,
                          std::size_t, std::size_t, bool) {
    return 0;
}

std::size_t GreenGainsInBlocks(double, const std::uint8_t*, std::size_t, bool, std::size_t,
                               double*) {
    return 0;
}

#endif
