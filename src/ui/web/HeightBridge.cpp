#include "HeightBridge.h"

#include <cmath>
#include <limits>

void HeightBridge::report(double height, const QString& documentUrl)
{
    if (!std::isfinite(height) || height <= 0 || height > std::numeric_limits<int>::max())
        return;
    Q_EMIT reported(static_cast<int>(std::ceil(height)), documentUrl);
}

void HeightBridge::scrolled(double y, const QString& documentUrl)
{
    if (!std::isfinite(y) || y < 0 || y > std::numeric_limits<int>::max())
        return;
    Q_EMIT scrolledTo(static_cast<int>(std::lround(y)), documentUrl);
}

void HeightBridge::painted(const QString& documentUrl)
{
    Q_EMIT firstFramePainted(documentUrl);
}
