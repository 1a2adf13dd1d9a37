#include "models/optics/WaveColor.h"

#include "core/base/VbConvert.h"
#include "models/optics/fncDataChk.h"

#include <cmath>

int32_t act_rtcrgb(int16_t red, int16_t green, int16_t blue) {
    auto clamp = [](int16_t c) { return static_cast<int32_t>(c < 0 ? 0 : (c > 255 ? 255 : c)); };
    return clamp(red) + clamp(green) * 256 + clamp(blue) * 65536;
}

int16_t Wave_Factor(double value, double factor) {
    if (value == 0)
        return 0;
    return vb::toInt16(255.0 * std::pow(value * factor, 0.8));
}

void Wave_Color(int16_t wavelength, int16_t& red, int16_t& green, int16_t& blue) {
    const double w = wavelength;
    double r = 0, g = 0, b = 0;
    if (wavelength >= 380 && wavelength <= 439) {
        r = (440 - w) / 60;
        b = 1;
    } else if (wavelength >= 440 && wavelength <= 489) {
        g = (w - 440) / 50;
        b = 1;
    } else if (wavelength >= 490 && wavelength <= 509) {
        g = 1;
        b = (510 - w) / 20;
    } else if (wavelength >= 510 && wavelength <= 579) {
        r = (w - 510) / 70;
        g = 1;
    } else if (wavelength >= 580 && wavelength <= 644) {
        r = 1;
        g = (645 - w) / 65;
    } else if (wavelength >= 645 && wavelength <= 780) {
        r = 1;
    }

    double factor = 0;
    if (wavelength >= 380 && wavelength <= 419)
        factor = 0.3 + 0.7 * (w - 380) / 40;
    else if (wavelength >= 420 && wavelength <= 700)
        factor = 1;
    else if (wavelength >= 701 && wavelength <= 780)
        factor = 0.3 + 0.7 * (780 - w) / 80;

    red = Wave_Factor(r, factor);
    green = Wave_Factor(g, factor);
    blue = Wave_Factor(b, factor);
}

int32_t Wave_RGB(int16_t wavelength) {
    int16_t r = 0, g = 0, b = 0;
    Wave_Color(wavelength, r, g, b);
    return act_rtcrgb(r, g, b);
}

void Strip_Set(int16_t left, int16_t right, int32_t& leftColor, int32_t& rightColor) {
    leftColor = Wave_RGB(left);
    rightColor = Wave_RGB(right);
}

int32_t Strip_LineColor(int32_t leftColor, int32_t rightColor, double width, double x) {
    if (width <= 0)
        return leftColor;
    auto component = [&](int shift) {
        const int32_t c1 = (leftColor >> shift) & 0xFF;
        const int32_t c2 = (rightColor >> shift) & 0xFF;
        const float step = static_cast<float>(c2 - c1) / static_cast<float>(width);
        const float value = static_cast<float>(c1) + static_cast<float>(x) * step;
        return vb::toInt16(value);
    };
    return act_rtcrgb(component(0), component(8), component(16));
}

WaveReading Wave_Read(int16_t code, const QString& partText) {
    WaveReading reading;
    if (code == 0 || code == 1) {
        reading.kind = WaveReading::NoFilter;
        return reading;
    }
    if (code >= 241 && code <= 249) {
        reading.kind = WaveReading::UserDefined;
        return reading;
    }
    if (code < 2 || code > 240) {
        reading.kind = WaveReading::Untouched;
        return reading;
    }
    reading.kind = WaveReading::Catalogue;

    // Trim drops blanks only; the first two characters name the kind of part.
    QString s = partText;
    while (s.startsWith(QLatin1Char(' ')))
        s.remove(0, 1);
    while (s.endsWith(QLatin1Char(' ')))
        s.chop(1);
    s = s.mid(2);

    if (Char_Count(s, QStringLiteral("/")) > 0) {
        // Centre and width: the strip is 25 nm either side of the centre.
        const int16_t c = vb::textToInt16(s.left(3));
        reading.hasStrip = true;
        reading.left = vb::toInt16(static_cast<double>(c) - 25);
        reading.right = vb::toInt16(static_cast<double>(c) + 25);
        reading.wavelength = c;
    } else if (Char_Count(s, QStringLiteral("-")) > 0) {
        // A pass band: its two ends, and the middle as the wavelength.
        const int16_t a = vb::textToInt16(s.left(3));
        const int16_t b = vb::textToInt16(s.right(3));
        reading.hasStrip = true;
        reading.left = a;
        reading.right = b;
        reading.wavelength = vb::toInt16((static_cast<double>(a) + b) / 2);
    } else if (Digit_Chk(s)) {
        // An edge filter is taken to pass 50 nm above its edge.
        const int16_t w = vb::textToInt16(s);
        reading.hasStrip = true;
        reading.left = w;
        reading.right = vb::toInt16(static_cast<double>(w) + 50);
        reading.wavelength = w;
    } else {
        reading.wavelength = 500;
    }
    return reading;
}

PartColour Part_Color(const WaveReading& reading, int16_t chosen, int32_t chosenColor) {
    PartColour out;
    switch (reading.kind) {
    case WaveReading::NoFilter:
        out.action = PartColour::Clear;
        break;
    case WaveReading::Catalogue:
        out.action = PartColour::Show;
        out.colour = (chosen == 0) ? Wave_RGB(reading.wavelength) : chosenColor;
        out.stripVisible = true;
        break;
    case WaveReading::UserDefined:
        out.action = (chosen == 0) ? PartColour::Clear : PartColour::Show;
        out.colour = (chosen == 0) ? 0 : chosenColor;
        break;
    case WaveReading::Untouched:
        out.action = PartColour::Untouched;
        break;
    }
    return out;
}
