#include "desktop/Contrast.h"

#include <QColor>
#include <algorithm>
#include <cmath>
#include <map>

namespace tally {
namespace {

double Linear(int channel) {
    const double value = channel / 255.0;
    return value <= 0.04045 ? value / 12.92 : std::pow((value + 0.055) / 1.055, 2.4);
}

double Luminance(QRgb colour) {
    return 0.2126 * Linear(qRed(colour)) + 0.7152 * Linear(qGreen(colour)) + 0.0722 * Linear(qBlue(colour));
}

}  // namespace

double ContrastOf(const QImage& image, const QRect& part) {
    std::map<QRgb, int> counts;
    const QRect inside = part & image.rect();
    for (int y = inside.top(); y <= inside.bottom(); ++y)
        for (int x = inside.left(); x <= inside.right(); ++x) ++counts[image.pixel(x, y)];
    if (counts.empty()) return 1;
    const auto ground = std::max_element(counts.begin(), counts.end(),
                                         [](const auto& a, const auto& b) { return a.second < b.second; });
    const double under = Luminance(ground->first);
    double best = 1;
    for (const auto& [colour, count] : counts) {
        const double ink = Luminance(colour);
        if (count > 1) best = std::max(best, (std::max(ink, under) + 0.05) / (std::min(ink, under) + 0.05));
    }
    return best;
}

QPalette DarkPalette() {
    QPalette palette;
    const QColor ink(0xEE, 0xEE, 0xEE);
    for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText, QPalette::ToolTipText,
                            QPalette::HighlightedText, QPalette::BrightText})
        palette.setColor(role, ink);
    palette.setColor(QPalette::Window, QColor(0x2B, 0x2B, 0x2B));
    palette.setColor(QPalette::Base, QColor(0x1E, 0x1E, 0x1E));
    palette.setColor(QPalette::AlternateBase, QColor(0x26, 0x26, 0x26));
    palette.setColor(QPalette::Button, QColor(0x35, 0x35, 0x35));
    palette.setColor(QPalette::ToolTipBase, QColor(0x35, 0x35, 0x35));
    palette.setColor(QPalette::Highlight, QColor(0x1F, 0x5A, 0x99));
    palette.setColor(QPalette::Light, QColor(0x50, 0x50, 0x50));
    palette.setColor(QPalette::Midlight, QColor(0x45, 0x45, 0x45));
    palette.setColor(QPalette::Mid, QColor(0x20, 0x20, 0x20));
    palette.setColor(QPalette::Dark, QColor(0x18, 0x18, 0x18));
    palette.setColor(QPalette::Shadow, QColor(0x00, 0x00, 0x00));
    return palette;
}

}  // namespace tally
