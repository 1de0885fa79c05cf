#pragma once

#include <QPoint>
#include <QString>
#include <optional>
#include <string>

#include "CorrectionModes.h"

// What the window keeps between sessions, in the desktop's settings store:
// the correction options (never the card's files), the folders last used by
// each question, and where the window stood. Defaults in one place: a store
// with nothing in it gives the window as it always was.
namespace window_settings {
CorrectionModes Options();
void KeepOptions(const CorrectionModes& modes);

// The folder a question last answered in ("card", "subjects", "output",
// "report"); empty when none yet.
QString Place(const std::string& question);
void KeepPlace(const std::string& question, const QString& folder);

std::optional<QPoint> Position();
void KeepPosition(const QPoint& position);
}  // namespace window_settings
