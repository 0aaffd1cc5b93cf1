#include "tools/vsthost/WavIO.h"

#include <sndfile.h>

#include <cmath>
#include <memory>

namespace vsthost {

namespace {

struct SndfileCloser {
    void operator()(SNDFILE* file) const { sf_close(file); }
};
using SndfileHandle = std::unique_ptr<SNDFILE, SndfileCloser>;

}  // namespace

SampleFormat parseSampleFormat(const std::string& text) {
    if (text == "float" || text == "32f" || text == "float32")
        return SampleFormat::Float32;
    if (text == "16" || text == "pcm16")
        return SampleFormat::Pcm16;
    if (text == "24" || text == "pcm24")
        return SampleFormat::Pcm24;
    throw std::invalid_argument("unknown sample format \"" + text +
                                "\" (use float, pcm16 or pcm24)");
}

AudioBuffer readAudioFile(const std::string& path) {
    SF_INFO info{};
    SndfileHandle file(sf_open(path.c_str(), SFM_READ, &info));
    if (!file)
        throw AudioFileError("cannot read " + path + ": " + sf_strerror(nullptr));
    if (info.channels < 1 || info.samplerate < 1)
        throw AudioFileError(path + ": no audio channels");

    std::vector<float> interleaved((size_t)info.frames * info.channels);
    const sf_count_t got = sf_readf_float(file.get(), interleaved.data(), info.frames);
    if (got < 0)
        throw AudioFileError("cannot read " + path + ": " + sf_strerror(file.get()));

    AudioBuffer audio(info.samplerate, info.channels, (size_t)got);
    for (sf_count_t i = 0; i < got; ++i)
        for (int c = 0; c < info.channels; ++c)
            audio.channels[c][i] = interleaved[(size_t)i * info.channels + c];
    return audio;
}

void writeAudioFile(const std::string& path, const AudioBuffer& audio, SampleFormat format) {
    if (audio.channelCount() == 0)
        throw AudioFileError("nothing to write to " + path + ": no channels");
    SF_INFO info{};
    info.samplerate = (int)std::lround(audio.sampleRate);
    info.channels = (int)audio.channelCount();
    info.format = SF_FORMAT_WAV | (format == SampleFormat::Float32 ? SF_FORMAT_FLOAT
                                   : format == SampleFormat::Pcm16 ? SF_FORMAT_PCM_16
                                                                   : SF_FORMAT_PCM_24);
    SndfileHandle file(sf_open(path.c_str(), SFM_WRITE, &info));
    if (!file)
        throw AudioFileError("cannot write " + path + ": " + sf_strerror(nullptr));
    sf_command(file.get(), SFC_SET_CLIPPING, nullptr, SF_TRUE);

    const size_t frames = audio.frames();
    std::vector<float> interleaved(frames * audio.channelCount());
    for (size_t i = 0; i < frames; ++i)
        for (size_t c = 0; c < audio.channelCount(); ++c)
            interleaved[i * audio.channelCount() + c] = audio.channels[c][i];
    if (sf_writef_float(file.get(), interleaved.data(), (sf_count_t)frames) != (sf_count_t)frames)
        throw AudioFileError("cannot write " + path + ": " + sf_strerror(file.get()));
}

}  // namespace vsthost
