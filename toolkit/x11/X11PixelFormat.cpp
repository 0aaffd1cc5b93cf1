#include "toolkit/x11/X11PixelFormat.h"

X11PixelFormat::X11PixelFormat(unsigned long redMask, unsigned long greenMask,
                               unsigned long blueMask, int depth)
    : m_red(ChannelOf(redMask)), m_green(ChannelOf(greenMask)), m_blue(ChannelOf(blueMask)) {
    const unsigned long all = depth >= 64 || depth <= 0 ? ~0ul : (1ul << depth) - 1;
    m_fill = all & ~(redMask | greenMask | blueMask);
}

bool X11PixelFormat::IsPlainRgb24() const {
    return m_red.mask == 0xFF0000 && m_green.mask == 0x00FF00 && m_blue.mask == 0x0000FF &&
           m_fill == 0;
}

X11PixelFormat::Channel X11PixelFormat::ChannelOf(unsigned long mask) {
    Channel channel;
    channel.mask = mask;
    if (mask == 0) return channel;
    while (!((mask >> channel.shift) & 1)) ++channel.shift;
    while (channel.shift + channel.bits < 64 && ((mask >> (channel.shift + channel.bits)) & 1))
        ++channel.bits;
    return channel;
}

unsigned long X11PixelFormat::Scale8ToChannel(unsigned value, const Channel& channel) {
    if (channel.bits == 0) return 0;
    const unsigned long top = (channel.bits >= 32) ? 0xFFFFFFFFul : (1ul << channel.bits) - 1;
    const unsigned long scaled = (value * top + 127) / 255;
    return (scaled << channel.shift) & channel.mask;
}

unsigned X11PixelFormat::ScaleChannelTo8(unsigned long pixel, const Channel& channel) {
    if (channel.bits == 0) return 0;
    const unsigned long top = (channel.bits >= 32) ? 0xFFFFFFFFul : (1ul << channel.bits) - 1;
    const unsigned long value = (pixel & channel.mask) >> channel.shift;
    return static_cast<unsigned>((value * 255 + top / 2) / top);
}

unsigned long X11PixelFormat::Encode(uint32_t rgb) const {
    return Scale8ToChannel((rgb >> 16) & 0xFF, m_red) | Scale8ToChannel((rgb >> 8) & 0xFF, m_green) |
           Scale8ToChannel(rgb & 0xFF, m_blue) | m_fill;
}

uint32_t X11PixelFormat::Decode(unsigned long pixel) const {
    return 0xFF000000u | (ScaleChannelTo8(pixel, m_red) << 16) |
           (ScaleChannelTo8(pixel, m_green) << 8) | ScaleChannelTo8(pixel, m_blue);
}
