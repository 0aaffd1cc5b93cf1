// The face's few colours: a warm dark grey panel, off-white display windows,
// one amber accent, and the meters' traffic-light colours.
#pragma once

#include "tools/artwork/Painter.h"

namespace artwork::palette {

constexpr Colour kChassis = Hex(0x1d1b19);       // gaps between the plates
constexpr Colour kPlate = Hex(0x35322e);         // every control sits on this
constexpr Colour kRecess = Hex(0x141312);        // meter wells, grooves
constexpr Colour kLabel = Hex(0xd6cfc2);         // engraved headings
constexpr Colour kLabelDim = Hex(0x8f887c);      // units and small print
constexpr Colour kDisplay = Hex(0xebe6da);       // value windows (black text)
constexpr Colour kDisplayShade = Hex(0xc2baa9);  // their inner top edge
constexpr Colour kAccent = Hex(0xf2a53a);        // lamps, value arcs
constexpr Colour kAccentDark = Hex(0x4a3a26);    // unlit lamp glass
constexpr Colour kCapLight = Hex(0x6d6860);      // key caps and knobs, lit side
constexpr Colour kCapDark = Hex(0x3b3834);       // and shaded side
constexpr Colour kEdge = Hex(0x0e0d0c);          // outlines of raised parts
constexpr Colour kPointer = Hex(0xf6f1e7);       // knob pointers, handle marks

constexpr Colour kMeterGreen = Hex(0x63d45c);
constexpr Colour kMeterAmber = Hex(0xf2b338);
constexpr Colour kMeterRed = Hex(0xf0503a);

}  // namespace artwork::palette
