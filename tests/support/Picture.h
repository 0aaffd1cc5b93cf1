// A PNG read back as RGB24 pixels, and what a picture of TapDelay's editor
// playing must differ in from one of it quiet.
#pragma once

#include <cairo.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <string>

class Picture {
public:
    explicit Picture(const std::string& path) : m_surface(cairo_image_surface_create_from_png(path.c_str())) {}
    ~Picture() { cairo_surface_destroy(m_surface); }
    Picture(const Picture&) = delete;
    Picture& operator=(const Picture&) = delete;

    bool Ok() const { return cairo_surface_status(m_surface) == CAIRO_STATUS_SUCCESS; }
    int Width() const { return cairo_image_surface_get_width(m_surface); }
    int Height() const { return cairo_image_surface_get_height(m_surface); }
    uint32_t At(int x, int y) const {
        const unsigned char* row =
            cairo_image_surface_get_data(m_surface) + y * cairo_image_surface_get_stride(m_surface);
        uint32_t pixel;
        std::memcpy(&pixel, row + 4 * x, 4);
        return pixel & 0xFFFFFF;
    }
    // Of `other`'s size and mostly its own pixels: in place, not shifted, not blank.
    bool MostlyLike(const Picture& other) const {
        if (Width() != other.Width() || Height() != other.Height()) return false;
        size_t same = 0;
        for (int y = 0; y < Height(); y++)
            for (int x = 0; x < Width(); x++) same += At(x, y) == other.At(x, y);
        return same > static_cast<size_t>(Width() * Height() / 2);
    }

private:
    cairo_surface_t* m_surface;
};

// The four meters (two columns at each side, from row 50 down) lit on both
// sides, and no other pixel changed.
inline ::testing::AssertionResult OnlyMetersLit(const Picture& quiet, const Picture& loud) {
    if (!quiet.Ok() || !loud.Ok() || quiet.Width() != loud.Width() || quiet.Height() != loud.Height())
        return ::testing::AssertionFailure() << "no pictures of the same size";
    size_t lit[2] = {}, elsewhere = 0;
    for (int y = 0; y < quiet.Height(); y++)
        for (int x = 0; x < quiet.Width(); x++) {
            const bool meter = y >= 50 && y < 190 && ((x >= 32 && x < 50) || (x >= 754 && x < 772));
            if (quiet.At(x, y) != loud.At(x, y)) (meter ? lit[x >= 400] : elsewhere)++;
        }
    if (lit[0] > 100 && lit[1] > 100 && elsewhere == 0) return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << lit[0] << " and " << lit[1] << " pixels lit in the left and right meters "
                                         << "(over 100 each wanted), " << elsewhere << " changed elsewhere";
}
