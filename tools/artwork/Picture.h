// One picture of the editor: its resource number, its size in 1x units and
// the function that draws it into that area.
#pragma once

#include <cairo.h>

#include <vector>

namespace artwork {

struct Picture {
    int id;
    int width;
    int height;
    void (*draw)(cairo_t* cr);
};

// Every picture the editor loads, background first.
const std::vector<Picture>& AllPictures();
const Picture* FindPicture(int id);

// A new ARGB surface of width x height times scale (each rounded) holding
// the picture, drawn to fill it exactly so that no edge is left transparent.
cairo_surface_t* RenderPicture(const Picture& picture, double scale);

// The drawing functions, grouped by kind of control.
void DrawBackground(cairo_t* cr);       // 3005
void DrawKnobStrip(cairo_t* cr);        // 3004
void DrawHorizontalTrack(cairo_t* cr);  // 3006
void DrawHorizontalHandle(cairo_t* cr); // 3015
void DrawVerticalTrack(cairo_t* cr);    // 3016
void DrawVerticalHandle(cairo_t* cr);   // 3007
void DrawMeter(cairo_t* cr);            // 3008
void DrawPowerOff(cairo_t* cr);         // 3002
void DrawPowerOn(cairo_t* cr);          // 3003
void DrawTapSwitchOff(cairo_t* cr);     // 3010
void DrawTapSwitchOn(cairo_t* cr);      // 3009
void DrawFilterSwitchOff(cairo_t* cr);  // 3018
void DrawFilterSwitchOn(cairo_t* cr);   // 3017
void DrawSmallSwitchOff(cairo_t* cr);   // 3020
void DrawSmallSwitchOn(cairo_t* cr);    // 3019
void DrawCopyButtonOff(cairo_t* cr);    // 3012
void DrawCopyButtonOn(cairo_t* cr);     // 3011
void DrawSaveButton(cairo_t* cr);       // 5016
void DrawModifiedLamp(cairo_t* cr);     // 5017
void DrawLogo(cairo_t* cr);             // 3001

}  // namespace artwork
