#include "WindowSettings.h"

#include <QSettings>

namespace window_settings {
CorrectionModes Options() {
    const QSettings settings;
    CorrectionModes modes;
    if (settings.value("options/channels").toString() == "rgb") modes.channels = GainChannels::Rgb;
    modes.smoothRadius = settings.value("options/smooth", 0).toUInt();
    if (const double cap = settings.value("options/maxGain", 0.0).toDouble(); cap >= 1.0)
        modes.maxGain = cap;
    modes.linear = settings.value("options/linear", false).toBool();
    modes.darken = settings.value("options/darken", false).toBool();
    return modes;
}

void KeepOptions(const CorrectionModes& modes) {
    QSettings settings;
    settings.setValue("options/channels", modes.channels == GainChannels::Rgb ? "rgb" : "green");
    settings.setValue("options/smooth", modes.smoothRadius);
    settings.setValue("options/maxGain", modes.maxGain.value_or(0.0));
    settings.setValue("options/linear", modes.linear);
    settings.setValue("options/darken", modes.darken);
}

QString Place(const std::string& question) {
    return QSettings().value(QString::fromStdString("places/" + question)).toString();
}

void KeepPlace(const std::string& question, const QString& folder) {
    QSettings().setValue(QString::fromStdString("places/" + question), folder);
}

std::optional<QPoint> Position() {
    const QVariant position = QSettings().value("window/position");
    if (!position.isValid()) return std::nullopt;
    return position.toPoint();
}

void KeepPosition(const QPoint& position) {
    QSettings().setValue("window/position", position);
}
}  // namespace window_settings
