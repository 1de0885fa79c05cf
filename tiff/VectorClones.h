#pragma once

// Builds a hot loop for the plain processor and for wider vector units, picked
// once at start-up by what the machine has. Every IEEE operation rounds the
// same in each, and contraction into fused multiply-adds is off for the whole
// build. Clang (which the fuzz targets are built with) can't clone templates
// for several processors; it builds the one plain version.
#if defined(__clang__)
#define BRISAVANE_VECTOR_CLONES
#else
#define BRISAVANE_VECTOR_CLONES __attribute__((target_clones("arch=x86-64-v4", "avx2", "default")))
#endif
