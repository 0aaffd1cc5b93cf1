// PNG pictures of waveforms, stacked in panels with a time axis, drawn with
// cairo.
#pragma once

#include <stdexcept>
#include <string>
#include <vector>

namespace vsthost {

struct PlotTrace {
    const std::vector<float>* samples;
    double red, green, blue;
    std::string label;
};

constexpr double kFloorDb = -90.0;

struct PlotPanel {
    std::string title;
    double sampleRate = 48000.0;
    double seconds = 1.0;  // span of the time axis, from 0
    bool milliseconds = false;  // axis labels in ms instead of s
    float peak = 0.0f;  // full scale of the panel; 0 fits the loudest sample
    // Levels in dB (0 at the top, kFloorDb at the bottom) instead of
    // waveforms: echoes far below the first one still show.
    bool decibels = false;
    std::vector<PlotTrace> traces;
};

class PlotError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

void writePlotPng(const std::string& path, const std::string& title,
                  const std::vector<PlotPanel>& panels, int width = 1200, int panelHeight = 250);

}  // namespace vsthost
