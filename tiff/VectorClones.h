#pragma once

// Builds a hot loop for the plain processor and for wider x86-64 vector units,
// picked once at start-up by what the machine has. Every IEEE operation rounds
// the same in each, and contraction into fused multiply-adds is off for the
// whole build. Other processors, Clang (which the fuzz targets are built with,
// and which can't clone templates for several processors) and builds asked for
// plain loops get the one plain version.
#if defined(__x86_64__) && !defined(__clang__) && !defined(BRISAVANE_PLAIN_LOOPS)
#define BRISAVANE_VECTOR_CLONES __attribute__((target_clones("arch=x86-64-v4", "avx2", "default")))
#else
#define BRISAVANE_VECTOR_CLONES
#endif
