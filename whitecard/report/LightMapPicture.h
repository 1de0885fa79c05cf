#pragma once

#include <cstdint>
#include <string>

#include "CardMeasurement.h"
#include "Picture.h"

// How the light map's values (Y / Y of the centre block) become colours: a
// ramp from lo to hi, with a contour line at 1 + k x step for every whole k but 0.
struct LightMapScale {
    double lo = 0, hi = 1, step = 0.01;

    static LightMapScale For(const std::vector<double>& values);
    std::uint32_t Colour(double value) const;
    // The ramp's colour at t in 0..1, as the page's colour bar shows it.
    static std::uint32_t Ramp(double t);
};

// The map of Y / Y centre over the sampled area, read from the coarse cells
// at a size that fits room x room, with its contour lines drawn in.
Picture DrawLightMap(const CardMeasurement& m, const CardFigures& f, const LightMapScale& scale,
                     std::int64_t room);
