#pragma once

#include <string>

#include "CardMeasurement.h"
#include "LightMapPicture.h"
#include "Picture.h"

// The pictures a report shows, also written beside the page as PNG files.
struct ReportPictures {
    Picture toneMap;
    LightMapScale scale;  // one scale for both maps, so they compare at a glance
    Picture lightMap, lightMapEqualized;
};

inline constexpr std::int64_t kLightMapRoom = 480;

ReportPictures MakeReportPictures(const CardMeasurement& m, Picture toneMap);

// report.html: one self-contained page, readable offline: its pictures are
// embedded as data and it runs no script.
std::string ReportPage(const CardMeasurement& m, const ReportPictures& pictures);
