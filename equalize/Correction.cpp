#include "Correction.h"

#include "Samples.h"

double TargetLevel(double maxLuminance, double minLuminance, double amountToApply) {
    const double difference = maxLuminance - minLuminance;
    const double scaled = difference * amountToApply;
    return minLuminance + scaled;
}

void CorrectPixel(const SampleFormat& format, double targetLevel, const std::uint8_t* subject,
                  bool subjectLittleEndian, const std::uint8_t* white, bool whiteLittleEndian,
                  std::uint8_t* out) {
    const std::size_t w = format.width;
    const double whiteGreen = LoadSample(white + w, w, whiteLittleEndian);
    const double gain = Gain(targetLevel, whiteGreen);
    for (std::size_t channel = 0; channel < 3; ++channel) {
        const double sample = LoadSample(subject + channel * w, w, subjectLittleEndian);
        StoreSample(out + channel * w, w, subjectLittleEndian,
                    CorrectedSample(gain, sample, format.ceiling));
    }
}
