#include "Correction.h"

double TargetLevel(double maxLuminance, double minLuminance, double amountToApply) {
    const double difference = maxLuminance - minLuminance;
    const double scaled = difference * amountToApply;
    return minLuminance + scaled;
}
