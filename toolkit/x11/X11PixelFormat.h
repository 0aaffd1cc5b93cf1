// Packing 8-bit red, green and blue into the pixel values of a TrueColor
// visual and back, for visuals other than the common 24-bit one (16-bit,
// 30-bit, 32-bit with alpha, other channel orders).
#pragma once

#include <cstdint>

class X11PixelFormat {
public:
    // depth is the number of significant bits of a pixel; bits of it that no
    // colour mask covers (alpha) are set to 1, so windows stay opaque.
    X11PixelFormat(unsigned long redMask, unsigned long greenMask, unsigned long blueMask,
                   int depth);

    // The cairo RGB24 layout 0x00RRGGBB with 8 bits per channel.
    bool IsPlainRgb24() const;

    unsigned long Encode(uint32_t rgb) const;  // 0x00RRGGBB -> pixel
    uint32_t Decode(unsigned long pixel) const;  // pixel -> 0xFFRRGGBB

private:
    struct Channel {
        int shift = 0;
        int bits = 0;
        unsigned long mask = 0;
    };
    static Channel ChannelOf(unsigned long mask);
    static unsigned long Scale8ToChannel(unsigned value, const Channel& channel);
    static unsigned ScaleChannelTo8(unsigned long pixel, const Channel& channel);

    Channel m_red, m_green, m_blue;
    unsigned long m_fill = 0;  // bits of the depth outside the colour masks
};
