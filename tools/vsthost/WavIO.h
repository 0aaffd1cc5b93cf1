// Reading and writing sound files through libsndfile.
#pragma once

#include "tools/vsthost/AudioBuffer.h"

#include <stdexcept>
#include <string>

namespace vsthost {

class AudioFileError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

enum class SampleFormat { Float32, Pcm16, Pcm24 };

// "float", "16" or "24" (also "pcm16", "pcm24"); throws std::invalid_argument.
SampleFormat parseSampleFormat(const std::string& text);

// Any format libsndfile reads, at its own rate and channel count.
AudioBuffer readAudioFile(const std::string& path);

// A WAV file; PCM formats clip at full scale.
void writeAudioFile(const std::string& path, const AudioBuffer& audio,
                    SampleFormat format = SampleFormat::Float32);

}  // namespace vsthost
