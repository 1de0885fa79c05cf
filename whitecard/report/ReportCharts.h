#pragma once

#include <string>

#include "CardMeasurement.h"
#include "LightMapPicture.h"
#include "Picture.h"

// The page's pictures as inline SVG, drawn from the figures alone.

// The 11 x 11 blocks, each with its L*, coloured by its lightness verdict.
std::string BlockGridSvg(const CardFigures& f);

// Y / Y centre along the horizontal, vertical and both diagonal lines
// through the centre of the sampled area.
std::string ProfilesSvg(const CardMeasurement& m, const CardFigures& f);

// The light map picture with its colour bar, and a ring round every speck of
// dust; id names the colour bar's gradient, one for each map on the page.
std::string LightMapSvg(const CardMeasurement& m, const CardFigures& f, const Picture& map,
                        const LightMapScale& scale, const std::string& id);
