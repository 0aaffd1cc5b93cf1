#include "tools/vsthost/Validator.h"

#include "tools/vsthost/BankFile.h"
#include "tools/vsthost/PluginHost.h"
#include "tools/vsthost/Renderer.h"
#include "tools/vsthost/Synth.h"

#include <dirent.h>
#include <malloc.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <climits>
#include <cstdarg>
#include <cmath>
#include <cstring>
#include <sstream>
#include <thread>

// Present only in programs built with a sanitizer.
extern "C" size_t __sanitizer_get_current_allocated_bytes() __attribute__((weak));

namespace vsthost {

namespace {

using Clock = std::chrono::steady_clock;

class CheckFailed : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};
class CheckSkipped : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};
class CheckWarning : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

void require(bool condition, const std::string& why) {
    if (!condition)
        throw CheckFailed(why);
}

std::string format(const char* pattern, ...) __attribute__((format(printf, 1, 2)));
std::string format(const char* pattern, ...) {
    char text[512];
    va_list args;
    va_start(args, pattern);
    vsnprintf(text, sizeof text, pattern, args);
    va_end(args);
    return text;
}

constexpr double kRate = 48000.0;
constexpr int kBlock = 512;
constexpr int kMaxBlock = 8192;
constexpr size_t kTextSize = 512;  // every text buffer handed to the plug-in
constexpr size_t kTextLimit = 256; // a terminated text must end before this

// What every check works with: the plug-in file and the settings that fresh
// instances get.
class Fixture {
public:
    explicit Fixture(const ValidateOptions& options)
        : options_(options), module_(PluginModule::load(options.setup.pluginPath)) {}

    const ValidateOptions& options() const { return options_; }
    const std::shared_ptr<PluginModule>& module() const { return module_; }

    // Opened, with rate and block size, the settings applied, and resumed
    // unless asked otherwise.
    std::unique_ptr<PluginHost> instance(double rate = kRate, int block = kBlock,
                                         bool resume = true, bool doublePrecision = false) {
        HostTransport transport;
        transport.sampleRate = rate;
        transport.blockSize = block;
        transport.tempo = options_.setup.tempo;
        auto host = std::make_unique<PluginHost>(module_, transport);
        host->open();
        prepareForProcessing(*host, rate, block, doublePrecision);
        applySetup(*host, options_.setup);
        if (resume)
            host->resume();
        return host;
    }

private:
    const ValidateOptions& options_;
    std::shared_ptr<PluginModule> module_;
};

// ------------------------------------------------------------ helpers ----

// Position of the first NaN or infinity, or -1.
long firstNonFinite(const AudioBuffer& audio) {
    for (const auto& channel : audio.channels)
        for (size_t i = 0; i < channel.size(); ++i)
            if (!std::isfinite(channel[i]))
                return (long)i;
    return -1;
}

float peakOf(const AudioBuffer& audio) {
    float peak = 0.0f;
    for (const auto& channel : audio.channels)
        for (float x : channel)
            peak = std::max(peak, std::fabs(x));
    return peak;
}

AudioBuffer process(PluginHost& host, const AudioBuffer& input, int block,
                    bool doublePrecision = false) {
    RenderOptions options;
    options.blockSize = block;
    options.doublePrecision = doublePrecision;
    options.tailSeconds = 0.0;
    return render(host, input, options);
}

void requireFinite(const AudioBuffer& audio, const std::string& when) {
    const long at = firstNonFinite(audio);
    require(at < 0, format("non-finite output at frame %ld %s", at, when.c_str()));
}

// Largest difference between two renders, relative to the larger peak.
double relativeDifference(const AudioBuffer& a, const AudioBuffer& b) {
    double worst = 0.0;
    const double scale = std::max({peakOf(a), peakOf(b), 1e-9f});
    for (size_t c = 0; c < std::min(a.channelCount(), b.channelCount()); ++c)
        for (size_t i = 0; i < std::min(a.frames(), b.frames()); ++i)
            worst = std::max(worst, std::fabs((double)a.channels[c][i] - b.channels[c][i]));
    return worst / scale;
}

// A signal with something for every kind of effect: noise, a click, a
// tone, silence.
AudioBuffer probeSignal(double rate, double seconds, uint32_t seed) {
    AudioBuffer audio = makeNoise(rate, 2, (size_t)(rate * seconds), 0.5f, seed);
    const size_t n = audio.frames();
    for (size_t i = 0; i < n; ++i) {
        const double t = i / rate;
        for (auto& channel : audio.channels) {
            if (i >= n / 3 && i < 2 * n / 3)
                channel[i] = (float)(0.7 * std::sin(6.283185307179586 * 440.0 * t));
            if (i >= 2 * n / 3)
                channel[i] = 0.0f;
        }
    }
    if (n > 10)
        for (auto& channel : audio.channels)
            channel[2 * n / 3 + 5] = 1.0f;
    return audio;
}

void randomiseParams(PluginHost& host, Random& random) {
    for (int i = 0; i < host.numParams(); ++i)
        host.setParam(i, (float)random.uniform());
}

// Text the plug-in wrote into a buffer full of 0xAA: must be terminated
// early and must leave the far end untouched.
std::string checkedText(PluginHost& host, VstInt32 opcode, VstInt32 index, const char* what) {
    std::vector<char> buffer(kTextSize, (char)0xAA);
    host.dispatch(opcode, index, 0, buffer.data());
    // A plug-in that does not answer leaves the buffer as it was.
    if (std::all_of(buffer.begin(), buffer.end(), [](char c) { return c == (char)0xAA; }))
        return "";
    const void* end = memchr(buffer.data(), 0, kTextLimit);
    require(end != nullptr, format("%s %d: no terminating zero in the first %zu bytes", what,
                                   index, kTextLimit));
    for (size_t i = kTextLimit; i < kTextSize; ++i)
        require(buffer[i] == (char)0xAA,
                format("%s %d: written beyond byte %zu", what, index, kTextLimit));
    return std::string(buffer.data());
}

// ------------------------------------------------------------- checks ----

std::string checkLoad(Fixture& f) {
    const auto& m = f.module();
    auto host = std::make_unique<PluginHost>(m);
    AEffect* e = host->effect();
    require(e->numParams >= 0 && e->numParams <= 100000,
            format("implausible parameter count %d", e->numParams));
    require(e->numPrograms >= 0 && e->numPrograms <= 100000,
            format("implausible program count %d", e->numPrograms));
    require(e->numInputs >= 0 && e->numInputs <= 64 && e->numOutputs >= 0 &&
                e->numOutputs <= 64,
            format("implausible channel counts %d in, %d out", e->numInputs, e->numOutputs));
    require(e->dispatcher && e->setParameter && e->getParameter,
            "the effect record lacks dispatcher or parameter functions");
    require((e->flags & effFlagsCanReplacing) && e->processReplacing,
            "no processReplacing (required since VST 2.4)");
    require(!(e->flags & effFlagsCanDoubleReplacing) || e->processDoubleReplacing,
            "declares double precision but has no processDoubleReplacing");
    const std::string detail =
        format("entry %s, ID '%s', %d parameters, %d programs, %d in / %d out",
               m->entryName().c_str(), fourCCText(e->uniqueID).c_str(), e->numParams,
               e->numPrograms, e->numInputs, e->numOutputs);
    host->close();
    return detail;
}

std::string checkTexts(Fixture& f) {
    auto host = f.instance();
    const std::string name = checkedText(*host, effGetEffectName, 0, "effect name");
    const std::string vendor = checkedText(*host, effGetVendorString, 0, "vendor");
    checkedText(*host, effGetProductString, 0, "product");
    checkedText(*host, effGetProgramName, 0, "program name");
    checkedText(*host, effGetErrorText, 0, "error text");
    for (int i = 0; i < host->numParams(); ++i) {
        checkedText(*host, effGetParamName, i, "parameter name");
        checkedText(*host, effGetParamLabel, i, "parameter label");
        checkedText(*host, effGetParamDisplay, i, "parameter display");
    }
    for (int i = 0; i < std::min(host->numPrograms(), 1024); ++i) {
        std::vector<char> buffer(kTextSize, (char)0xAA);
        if (host->dispatch(effGetProgramNameIndexed, i, -1, buffer.data()))
            checkedText(*host, effGetProgramNameIndexed, i, "program name");
    }
    return format("\"%s\" by \"%s\", vendor version %d, VST version %d", name.c_str(),
                  vendor.c_str(), host->vendorVersion(), host->vstVersion());
}

std::string checkOpenClose(Fixture& f) {
    constexpr int kCycles = 40;
    const AudioBuffer input = makeNoise(kRate, 2, kBlock, 0.5f, f.options().seed);
    for (int i = 0; i < kCycles; ++i) {
        auto host = f.instance();
        requireFinite(process(*host, input, kBlock), format("in cycle %d", i));
        host->close();
    }
    // Instances side by side must not share state.
    auto a = f.instance();
    auto b = f.instance();
    const AudioBuffer outA = process(*a, input, kBlock);
    const AudioBuffer silence(kRate, 2, kBlock);
    process(*b, silence, kBlock);
    auto c = f.instance();
    const AudioBuffer outC = process(*c, input, kBlock);
    require(relativeDifference(outA, outC) < 1e-6,
            "a second instance changes what a third one produces");
    return format("%d cycles of create, open, resume, process, suspend, close; 3 at once",
                  kCycles);
}

std::string checkReload(Fixture& f) {
    constexpr int kLoads = 5;
    const AudioBuffer input = makeNoise(kRate, 2, kBlock, 0.5f, f.options().seed);
    for (int i = 0; i < kLoads; ++i) {
        auto module = PluginModule::load(f.options().setup.pluginPath);
        auto host = std::make_unique<PluginHost>(module);
        host->open();
        prepareForProcessing(*host, kRate, kBlock, false);
        host->resume();
        requireFinite(process(*host, input, kBlock), format("after load %d", i));
    }
    return format("%d times loaded, used and unloaded", kLoads);
}

// Every dispatcher opcode but the editor's, with arguments at the edges of
// what the interface allows. Pointers always lead to generous zeroed memory.
std::string checkOpcodes(Fixture& f) {
    auto host = f.instance(kRate, kBlock, false);
    const int params = host->numParams(), programs = host->numPrograms();
    const int ins = host->numInputs(), outs = host->numOutputs();
    std::vector<uint8_t> scratch(1 << 16);
    auto buffer = [&scratch]() {
        std::fill(scratch.begin(), scratch.end(), 0);
        return scratch.data();
    };
    int calls = 0;
    auto call = [&](VstInt32 op, VstInt32 index, VstIntPtr value, void* ptr, float opt) {
        ++calls;
        return host->dispatch(op, index, value, ptr, opt);
    };
    const std::vector<int> paramEdges = params > 0 ? std::vector<int>{0, params - 1} : std::vector<int>{};

    for (int i : paramEdges) {
        call(effGetParamLabel, i, 0, buffer(), 0);
        call(effGetParamDisplay, i, 0, buffer(), 0);
        call(effGetParamName, i, 0, buffer(), 0);
        call(effCanBeAutomated, i, 0, nullptr, 0);
        call(effGetParameterProperties, i, 0, buffer(), 0);
        strcpy((char*)buffer(), "0.5");
        call(effString2Parameter, i, 0, scratch.data(), 0);
        call(effString2Parameter, i, 0, buffer(), 0);  // empty text
    }
    for (int p : programs > 0 ? std::vector<int>{0, programs - 1} : std::vector<int>{}) {
        call(effSetProgram, 0, p, nullptr, 0);
        call(effGetProgram, 0, 0, nullptr, 0);
        call(effGetProgramName, 0, 0, buffer(), 0);
        strcpy((char*)buffer(), "");
        call(effSetProgramName, 0, 0, scratch.data(), 0);
        strcpy((char*)buffer(), "ABCDEFGHIJKLMNOPQRSTUVW");  // 23 characters, the most allowed
        call(effSetProgramName, 0, 0, scratch.data(), 0);
        call(effGetProgramNameIndexed, p, -1, buffer(), 0);
        call(effGetProgramNameIndexed, p, 0, buffer(), 0);
        call(effBeginSetProgram, 0, 0, nullptr, 0);
        call(effEndSetProgram, 0, 0, nullptr, 0);
    }
    call(effGetVu, 0, 0, nullptr, 0);
    for (float rate : {22050.0f, 192000.0f, (float)kRate})
        call(effSetSampleRate, 0, 0, nullptr, rate);
    for (int size : {1, kMaxBlock, kBlock})
        call(effSetBlockSize, 0, size, nullptr, 0);
    call(effSetBlockSizeAndSampleRate, 0, kBlock, nullptr, (float)kRate);
    {
        ERect* rect = nullptr;
        call(effEditGetRect, 0, 0, &rect, 0);
    }
    call(effIdentify, 0, 0, nullptr, 0);
    for (int preset : {0, 1}) {
        void* data = nullptr;
        const VstIntPtr size = call(effGetChunk, preset, 0, &data, 0);
        if (size > 0 && data) {
            std::vector<uint8_t> copy((uint8_t*)data, (uint8_t*)data + size);
            call(effSetChunk, preset, size, copy.data(), 0);
        }
    }
    {
        VstEvents events{};
        call(effProcessEvents, 0, 0, &events, 0);
    }
    call(effGetNumProgramCategories, 0, 0, nullptr, 0);
    for (int pin : {0, std::max(ins, outs) - 1}) {
        if (pin < 0)
            continue;
        if (pin < ins) {
            call(effConnectInput, pin, 1, nullptr, 0);
            call(effGetInputProperties, pin, 0, buffer(), 0);
        }
        if (pin < outs) {
            call(effConnectOutput, pin, 1, nullptr, 0);
            call(effGetOutputProperties, pin, 0, buffer(), 0);
        }
    }
    call(effGetPlugCategory, 0, 0, nullptr, 0);
    call(effGetCurrentPosition, 0, 0, nullptr, 0);
    call(effGetDestinationBuffer, 0, 0, nullptr, 0);
    call(effOfflineNotify, 0, 0, buffer(), 0);
    call(effOfflinePrepare, 0, 0, buffer(), 0);
    call(effOfflineRun, 0, 0, buffer(), 0);
    {
        std::vector<float> in(16, 0.0f), out(16, 0.0f);
        std::vector<float*> inPtr(std::max(ins, 1), in.data()), outPtr(std::max(outs, 1), out.data());
        VstInt32 inDone = 0, outDone = 0;
        VstVariableIo io{inPtr.data(), outPtr.data(), 0, 0, &inDone, &outDone};
        call(effProcessVarIo, 0, 0, &io, 0);
    }
    {
        // The arrangement the plug-in already has: a legal call that must not hurt.
        VstSpeakerArrangement in{}, out{};
        in.type = ins == 1 ? kSpeakerArrMono : ins == 2 ? kSpeakerArrStereo : kSpeakerArrUserDefined;
        in.numChannels = std::min(ins, 8);
        out.type = outs == 1 ? kSpeakerArrMono : outs == 2 ? kSpeakerArrStereo : kSpeakerArrUserDefined;
        out.numChannels = std::min(outs, 8);
        if (ins <= 8 && outs <= 8)
            call(effSetSpeakerArrangement, 0, (VstIntPtr)&in, &out, 0);
        VstSpeakerArrangement* gotIn = nullptr;
        VstSpeakerArrangement* gotOut = nullptr;
        call(effGetSpeakerArrangement, 0, (VstIntPtr)&gotIn, &gotOut, 0);
    }
    for (int bypass : {1, 0})
        call(effSetBypass, 0, bypass, nullptr, 0);
    call(effGetEffectName, 0, 0, buffer(), 0);
    call(effGetErrorText, 0, 0, buffer(), 0);
    call(effGetVendorString, 0, 0, buffer(), 0);
    call(effGetProductString, 0, 0, buffer(), 0);
    call(effGetVendorVersion, 0, 0, nullptr, 0);
    call(effVendorSpecific, 0, 0, buffer(), 0);
    for (const char* text : {"", "bypass", "receiveVstTimeInfo", "noSuchFeatureOfAnyPlugIn"}) {
        strcpy((char*)buffer(), text);
        call(effCanDo, 0, 0, scratch.data(), 0);
    }
    call(effGetTailSize, 0, 0, nullptr, 0);
    call(effIdle, 0, 0, nullptr, 0);
    call(effGetIcon, 0, 0, nullptr, 0);
    call(effSetViewPosition, 0, 0, nullptr, 0);
    call(effKeysRequired, 0, 0, nullptr, 0);
    call(effGetVstVersion, 0, 0, nullptr, 0);
    for (VstInt32 op = effGetMidiProgramName; op <= effGetMidiKeyName; ++op)
        call(op, 0, 0, buffer(), 0);
    call(effShellGetNextPlugin, 0, 0, buffer(), 0);
    call(effSetTotalSampleToProcess, 0, 0, nullptr, 0);
    call(effSetTotalSampleToProcess, 0, INT_MAX, nullptr, 0);
    call(effSetPanLaw, 0, 0, nullptr, 1.0f);
    call(effBeginLoadBank, 0, 0, buffer(), 0);
    call(effBeginLoadProgram, 0, 0, buffer(), 0);
    if (host->hasFlag(effFlagsCanDoubleReplacing))
        call(effSetProcessPrecision, 0, kVstProcessPrecision64, nullptr, 0);
    call(effSetProcessPrecision, 0, kVstProcessPrecision32, nullptr, 0);
    call(effGetNumMidiInputChannels, 0, 0, nullptr, 0);
    call(effGetNumMidiOutputChannels, 0, 0, nullptr, 0);
    // Numbers past the last opcode of the interface.
    for (VstInt32 op : {80, 81, 100, 1000})
        call(op, 0, 0, buffer(), 0);
    // Suspend and resume twice in a row.
    for (int mains : {1, 1, 0, 0, 1})
        call(effMainsChanged, 0, mains, nullptr, 0);
    call(effStartProcess, 0, 0, nullptr, 0);

    const AudioBuffer input = probeSignal(kRate, 0.2, f.options().seed);
    requireFinite(process(*host, input, kBlock), "after the opcode calls");
    call(effStopProcess, 0, 0, nullptr, 0);
    call(effMainsChanged, 0, 0, nullptr, 0);
    return format("%d calls over opcodes 0-81, 100 and 1000 (editor opcodes 14-21, 59-61 left out)",
                  calls);
}

// Arguments outside the allowed range: a careful plug-in ignores them.
std::string checkOutOfRange(Fixture& f) {
    auto host = f.instance(kRate, kBlock, false);
    const int params = host->numParams(), programs = host->numPrograms();
    std::vector<uint8_t> scratch(1 << 16);
    auto buffer = [&scratch]() {
        std::fill(scratch.begin(), scratch.end(), 0);
        return scratch.data();
    };
    const int before = host->currentProgram();
    for (int i : {-1, params, params + 1, INT_MAX, INT_MIN}) {
        host->dispatch(effGetParamLabel, i, 0, buffer());
        host->dispatch(effGetParamDisplay, i, 0, buffer());
        host->dispatch(effGetParamName, i, 0, buffer());
        host->dispatch(effCanBeAutomated, i);
        host->dispatch(effGetParameterProperties, i, 0, buffer());
        host->getParam(i);
        host->setParam(i, 0.5f);
    }
    for (int p : {-1, programs, programs + 1, INT_MAX, INT_MIN}) {
        host->dispatch(effGetProgramNameIndexed, p, -1, buffer());
        host->dispatch(effSetProgram, 0, p);
    }
    require(host->currentProgram() == before,
            format("effSetProgram with a program that does not exist changed the program from %d "
                   "to %d",
                   before, host->currentProgram()));
    for (int pin : {-1, 64, INT_MAX}) {
        host->dispatch(effGetInputProperties, pin, 0, buffer());
        host->dispatch(effGetOutputProperties, pin, 0, buffer());
    }
    // Chunks of odd sizes: nothing, one byte, one short of the real size,
    // and a little more. The memory behind them is always valid.
    std::string chunkNote = "the plug-in has no chunks";
    if (host->hasFlag(effFlagsProgramChunks)) {
        for (int preset : {0, 1}) {
            const std::vector<uint8_t> good = host->getChunk(preset);
            std::vector<uint8_t> data(std::max<size_t>(good.size() * 2 + 64, 1024), 0);
            std::copy(good.begin(), good.end(), data.begin());
            for (size_t size : {size_t(0), size_t(1), size_t(3), good.size() ? good.size() - 1 : 2,
                                good.size() + 1, good.size() + 13})
                host->dispatch(effSetChunk, preset, (VstIntPtr)size, data.data());
            host->setChunk(good, preset);
            require(host->getChunk(preset) == good,
                    "after chunks of wrong sizes, the right one no longer restores the state");
        }
        chunkNote = "chunks of 0, 1, 3, n-1, n+1 and n+13 bytes";
    }
    // A name longer than the interface's 24 bytes (the buffer itself is large).
    memset(buffer(), 'x', 200);
    host->dispatch(effSetProgramName, 0, 0, scratch.data());
    checkedText(*host, effGetProgramName, 0, "program name after an overlong one");
    host->resume();
    requireFinite(process(*host, probeSignal(kRate, 0.2, f.options().seed), kBlock),
                  "after out-of-range calls");
    return "indices -1, n, n+1, INT_MAX, INT_MIN; " + chunkNote + "; a 200-character program name";
}

std::string checkSampleRates(Fixture& f) {
    const double rates[] = {22050, 32000, 44100, 48000, 88200, 96000, 176400, 192000};
    auto host = f.instance(kRate, kBlock, false);
    std::string list;
    for (double rate : rates) {
        host->suspend();
        host->setSampleRate(rate);
        host->resume();
        AudioBuffer input = probeSignal(rate, 0.25, f.options().seed);
        requireFinite(process(*host, input, kBlock), format("at %.0f Hz", rate));
        // A fresh instance at each rate too: set before the first resume.
        auto fresh = f.instance(rate, kBlock);
        requireFinite(process(*fresh, input, kBlock), format("at %.0f Hz (fresh instance)", rate));
        list += (list.empty() ? "" : ", ") + format("%.0f", rate);
    }
    return list + " Hz, switched and fresh";
}

std::string checkBlockSizes(Fixture& f) {
    const int sizes[] = {1, 2, 3, 7, 16, 64, 100, 511, 512, 513, 1024, 4096, 8192};
    const AudioBuffer input = probeSignal(kRate, 0.4, f.options().seed);
    // Each size declared, then used.
    for (int size : sizes) {
        auto host = f.instance(kRate, size);
        const AudioBuffer part = [&] {
            AudioBuffer p = input;
            p.resize(std::min<size_t>(input.frames(), std::max(size * 4, 4096)));
            return p;
        }();
        requireFinite(process(*host, part, size), format("with blocks of %d", size));
    }
    // Up to 8192 declared, every call a different size.
    auto host = f.instance(kRate, kMaxBlock);
    BlockRunner runner(*host, kMaxBlock, false);
    Random random(f.options().seed);
    AudioBuffer out(kRate, std::max(host->numOutputs(), 1), kMaxBlock);
    std::vector<float> noise(kMaxBlock);
    size_t total = 0;
    for (int call = 0; call < 200; ++call) {
        const int frames = call < 13 ? sizes[call] : 1 + (int)(random.next() % kMaxBlock);
        for (int i = 0; i < frames; ++i)
            noise[i] = (float)(0.5 * random.bipolar());
        std::vector<float*> outputs;
        for (auto& c : out.channels)
            outputs.push_back(c.data());
        runner.run({noise.data()}, outputs, frames);
        for (auto& c : out.channels)
            for (int i = 0; i < frames; ++i)
                require(std::isfinite(c[i]), format("non-finite output in a block of %d", frames));
        total += frames;
    }
    return format("declared 1 to 8192; then 200 calls of changing size (%zu frames)", total);
}

std::string checkBlockIndependence(Fixture& f) {
    const AudioBuffer input = probeSignal(kRate, 0.5, f.options().seed);
    auto reference = f.instance(kRate, kBlock);
    const AudioBuffer a = process(*reference, input, kBlock);

    auto varied = f.instance(kRate, kMaxBlock);
    BlockRunner runner(*varied, kMaxBlock, false);
    AudioBuffer b(kRate, std::max(varied->numOutputs(), 0), input.frames());
    Random random(f.options().seed + 7);
    for (size_t done = 0; done < input.frames();) {
        const int frames = (int)std::min<size_t>(1 + random.next() % 1500, input.frames() - done);
        std::vector<const float*> in;
        for (const auto& c : input.channels)
            in.push_back(c.data() + done);
        std::vector<float*> out;
        for (auto& c : b.channels)
            out.push_back(c.data() + done);
        runner.run(in, out, frames);
        done += frames;
    }
    const double difference = relativeDifference(a, b);
    // Plug-ins that smooth their parameters once per block legitimately
    // differ; a per-sample engine must not.
    if (difference > 1e-5)
        throw CheckWarning(format("blocks of 512 and blocks of changing size differ by %.3g of "
                                  "full scale",
                                  difference));
    return format("blocks of 512 and of 1-1500 frames agree (difference %.2g)", difference);
}

std::string checkPrecisions(Fixture& f) {
    auto probe = f.instance(kRate, kBlock, false);
    if (!probe->hasFlag(effFlagsCanDoubleReplacing))
        throw CheckSkipped("the plug-in has single precision only");
    probe.reset();
    const AudioBuffer input = probeSignal(kRate, 0.5, f.options().seed);
    auto single = f.instance(kRate, kBlock, true, false);
    auto dbl = f.instance(kRate, kBlock, true, true);
    const AudioBuffer a = process(*single, input, kBlock, false);
    const AudioBuffer b = process(*dbl, input, kBlock, true);
    requireFinite(b, "in double precision");
    const double difference = relativeDifference(a, b);
    require(difference <= 1e-4,
            format("single and double precision differ by %.3g of full scale", difference));
    return format("single and double precision agree (difference %.2g)", difference);
}

std::string checkParameters(Fixture& f) {
    auto host = f.instance();
    int notReadBack = 0;
    for (int i = 0; i < host->numParams(); ++i) {
        for (float value : {0.0f, 0.25f, 0.5f, 1.0f}) {
            host->setParam(i, value);
            const float got = host->getParam(i);
            require(std::isfinite(got) && got >= -1e-6f && got <= 1.0f + 1e-6f,
                    format("parameter %d set to %g reads back as %g", i, value, got));
            if (std::fabs(got - value) > 1e-6f)
                ++notReadBack;
            checkedText(*host, effGetParamDisplay, i, "parameter display");
        }
        VstParameterProperties properties;
        memset(&properties, 0, sizeof properties);
        if (host->dispatch(effGetParameterProperties, i, 0, &properties)) {
            require(memchr(properties.label, 0, sizeof properties.label) != nullptr,
                    format("parameter %d: properties label not terminated", i));
            if (properties.flags & kVstParameterUsesIntegerMinMax)
                require(properties.minInteger <= properties.maxInteger,
                        format("parameter %d: integer minimum above maximum", i));
        }
    }
    return format("%d parameters set to 0, 0.25, 0.5, 1 and read back (%d reads differ, as "
                  "stepped parameters do)",
                  host->numParams(), notReadBack);
}

// The value a host that honours a parameter's properties sends for the
// normalised value n: an integer range taken literally (n mapped into it and
// rounded), a float step snapped to, a switch as 0 or 1.
float honouredValue(const VstParameterProperties& p, float n) {
    if (p.flags & kVstParameterUsesIntegerMinMax)
        return std::round(p.minInteger + n * (float)(p.maxInteger - p.minInteger));
    if ((p.flags & kVstParameterUsesFloatStep) && p.stepFloat > 0.0f)
        return std::round(n / p.stepFloat) * p.stepFloat;
    if (p.flags & kVstParameterIsSwitch)
        return n >= 0.5f ? 1.0f : 0.0f;
    return n;
}

// What a host such as Qtractor does on every session load: read the
// properties, then set each parameter in the form they announce. What the
// plug-in shows must not change.
std::string checkHonouredProperties(Fixture& f) {
    auto host = f.instance();
    Random random(f.options().seed + 5);
    int announced = 0;
    std::vector<VstParameterProperties> properties(host->numParams());
    for (int i = 0; i < host->numParams(); ++i) {
        memset(&properties[i], 0, sizeof properties[i]);
        if (host->dispatch(effGetParameterProperties, i, 0, &properties[i]) && properties[i].flags)
            ++announced;
        else
            properties[i].flags = 0;
    }
    if (announced == 0)
        throw CheckSkipped("no parameter announces properties");
    // A state the plug-in itself makes (a program), with the plain values
    // moved anywhere.
    if (host->numPrograms() > 1)
        host->setProgram(host->numPrograms() / 2);
    for (int i = 0; i < host->numParams(); ++i)
        if (properties[i].flags == 0)
            host->setParam(i, (float)random.uniform());
    std::vector<std::string> shown;
    for (int i = 0; i < host->numParams(); ++i)
        shown.push_back(host->paramDisplay(i));
    for (int i = 0; i < host->numParams(); ++i)
        host->setParam(i, honouredValue(properties[i], host->getParam(i)));
    for (int i = 0; i < host->numParams(); ++i)
        require(host->paramDisplay(i) == shown[i],
                format("parameter %d (properties flags %d%s) shows \"%s\" instead of \"%s\" after "
                       "being set as its properties announce",
                       i, properties[i].flags,
                       (properties[i].flags & kVstParameterUsesIntegerMinMax)
                           ? format(", integers %d to %d", properties[i].minInteger,
                                    properties[i].maxInteger).c_str()
                           : "",
                       host->paramDisplay(i).c_str(), shown[i].c_str()));
    return format("%d parameters with properties set as announced; every display unchanged", announced);
}

std::string checkPrograms(Fixture& f) {
    auto host = f.instance();
    const int programs = std::min(host->numPrograms(), 256);
    if (programs == 0)
        throw CheckSkipped("the plug-in has no programs");
    const AudioBuffer input = probeSignal(kRate, 0.05, f.options().seed);
    for (int p = 0; p < programs; ++p) {
        host->setProgram(p);
        require(host->currentProgram() == p,
                format("effSetProgram %d, but effGetProgram answers %d", p, host->currentProgram()));
        const std::string name = checkedText(*host, effGetProgramName, 0, "program name");
        std::vector<char> indexed(kTextSize, 0);
        if (host->dispatch(effGetProgramNameIndexed, p, -1, indexed.data()))
            require(name == indexed.data(),
                    format("program %d is \"%s\" but its indexed name is \"%s\"", p, name.c_str(),
                           indexed.data()));
        requireFinite(process(*host, input, kBlock), format("in program %d", p));
    }
    return format("%d programs selected, named and played", programs);
}

std::string checkThreads(Fixture& f) {
    auto host = f.instance(kRate, 256);
    const int params = host->numParams(), programs = host->numPrograms();
    const bool chunks = host->hasFlag(effFlagsProgramChunks);
    std::atomic<bool> stop{false};
    std::atomic<long> changes{0};
    std::thread ui([&] {
        Random random(f.options().seed + 1);
        while (!stop.load()) {
            if (params > 0) {
                const int i = (int)(random.next() % params);
                host->setParam(i, (float)random.uniform());
                char text[kTextSize] = {};
                host->dispatch(effGetParamDisplay, i, 0, text);
            }
            if (programs > 0 && random.next() % 16 == 0)
                host->dispatch(effSetProgram, 0, (VstIntPtr)(random.next() % programs));
            if (chunks && random.next() % 64 == 0) {
                void* data = nullptr;
                host->dispatch(effGetChunk, 1, 0, &data);
            }
            ++changes;
        }
    });
    BlockRunner runner(*host, 256, false);
    AudioBuffer out(kRate, std::max(host->numOutputs(), 1), 256);
    Random random(f.options().seed + 2);
    std::vector<float> noise(256);
    long blocks = 0;
    std::string failure;
    const auto until = Clock::now() + std::chrono::milliseconds(800);
    while (Clock::now() < until || blocks < 100) {
        for (float& x : noise)
            x = (float)(0.5 * random.bipolar());
        std::vector<float*> outputs;
        for (auto& c : out.channels)
            outputs.push_back(c.data());
        runner.run({noise.data()}, outputs, 256);
        for (auto& c : out.channels)
            for (float x : c)
                if (!std::isfinite(x) && failure.empty())
                    failure = format("non-finite output in block %ld", blocks);
        ++blocks;
    }
    stop = true;
    ui.join();
    require(failure.empty(), failure);
    return format("%ld blocks processed while another thread made %ld changes", blocks,
                  changes.load());
}

std::string checkChunks(Fixture& f) {
    auto host = f.instance();
    Random random(f.options().seed + 3);
    if (!host->hasFlag(effFlagsProgramChunks)) {
        // Parameters only: a bank file written and read back.
        const PatchFile saved = capturePatch(*host, false);
        randomiseParams(*host, random);
        applyPatch(*host, parsePatch(serializePatch(saved)));
        const PatchFile again = capturePatch(*host, false);
        require(serializePatch(saved) == serializePatch(again),
                "a program file written and loaded back gives other values");
        return "no chunks; a program file of parameter values round-trips";
    }
    std::string detail;
    for (bool preset : {false, true}) {
        const char* what = preset ? "program" : "bank";
        const std::vector<uint8_t> first = host->getChunk(preset);
        require(!first.empty(), format("the %s chunk is empty", what));
        // What a person sees: a chunk may hold a selector's step where the
        // parameter held any value inside that step, so compare displays.
        std::vector<std::string> shown;
        for (int i = 0; i < host->numParams(); ++i)
            shown.push_back(host->paramDisplay(i));
        randomiseParams(*host, random);
        host->setChunk(first, preset);
        const std::vector<uint8_t> second = host->getChunk(preset);
        require(first == second,
                format("the %s chunk given back and taken again differs (%zu and %zu bytes)", what,
                       first.size(), second.size()));
        for (int i = 0; i < host->numParams(); ++i)
            require(host->paramDisplay(i) == shown[i],
                    format("after the %s chunk came back, parameter %d shows \"%s\" instead of "
                           "\"%s\"",
                           what, i, host->paramDisplay(i).c_str(), shown[i].c_str()));
        // Into another instance, and through a file.
        auto other = f.instance();
        randomiseParams(*other, random);
        other->setChunk(first, preset);
        require(other->getChunk(preset) == first,
                format("the %s chunk does not survive the move to another instance", what));
        auto third = f.instance();
        applyPatch(*third, parsePatch(serializePatch(capturePatch(*host, !preset))));
        require(third->getChunk(preset) == first,
                format("the %s chunk does not survive a %s file", what, preset ? ".fxp" : ".fxb"));
        detail += format("%s %zu bytes; ", what, first.size());
    }
    return detail + "bit for bit back, into another instance and through .fxb/.fxp";
}

std::string checkFinite(Fixture& f) {
    auto host = f.instance();
    Random random(f.options().seed + 4);
    const size_t frames = (size_t)(0.15 * kRate);
    std::vector<std::pair<std::string, AudioBuffer>> inputs;
    inputs.push_back({"full-scale noise", makeNoise(kRate, 2, frames, 1.0f, f.options().seed)});
    inputs.push_back({"tiny noise", makeNoise(kRate, 2, frames, 1e-30f, f.options().seed)});
    AudioBuffer dc(kRate, 2, frames);
    for (auto& c : dc.channels)
        std::fill(c.begin(), c.end(), 1.0f);
    inputs.push_back({"full-scale DC", dc});
    AudioBuffer square = dc;
    for (auto& c : square.channels)
        for (size_t i = 0; i < frames; ++i)
            c[i] = (i / 24) % 2 ? 1.0f : -1.0f;
    inputs.push_back({"full-scale square", square});
    inputs.push_back({"silence", AudioBuffer(kRate, 2, frames)});

    int settings = 0;
    auto tryAll = [&](const std::string& setting) {
        for (const auto& [name, input] : inputs)
            requireFinite(process(*host, input, kBlock), "for " + name + " with " + setting);
        ++settings;
    };
    tryAll("the starting settings");
    for (int p = 0; p < std::min(host->numPrograms(), 16); ++p) {
        host->setProgram(p);
        tryAll(format("program %d", p));
    }
    for (int round = 0; round < 12; ++round) {
        randomiseParams(*host, random);
        tryAll(format("random parameters (round %d, seed %u)", round, f.options().seed));
    }
    for (float extreme : {0.0f, 1.0f}) {
        for (int i = 0; i < host->numParams(); ++i)
            host->setParam(i, extreme);
        tryAll(format("every parameter at %g", extreme));
    }
    return format("%zu kinds of input under %d settings (programs, random, all 0, all 1)",
                  inputs.size(), settings);
}

std::string checkSilence(Fixture& f) {
    auto host = f.instance();
    const AudioBuffer silence(kRate, 2, (size_t)(0.5 * kRate));
    const AudioBuffer out = process(*host, silence, kBlock);
    require(peakOf(out) == 0.0f,
            format("silence in gives %.3g out before any sound", peakOf(out)));

    // Noise, then silence until the output has been exactly zero for a
    // second; at most a minute.
    const AudioBuffer noise = makeNoise(kRate, 2, (size_t)(0.25 * kRate), 0.5f, f.options().seed);
    process(*host, noise, kBlock);
    BlockRunner runner(*host, kBlock, false);
    AudioBuffer block(kRate, std::max(host->numOutputs(), 1), kBlock);
    const std::vector<float> zeros(kBlock, 0.0f);
    const size_t limit = (size_t)(60.0 * kRate), needed = (size_t)kRate;
    size_t done = 0, silentSince = 0;
    float last = 0.0f;
    while (done < limit && done - silentSince < needed) {
        std::vector<float*> outputs;
        for (auto& c : block.channels)
            outputs.push_back(c.data());
        runner.run({zeros.data()}, outputs, kBlock);
        for (int i = 0; i < kBlock; ++i)
            for (const auto& c : block.channels)
                if (c[i] != 0.0f) {
                    silentSince = done + i + 1;
                    last = c[i];
                }
        done += kBlock;
    }
    require(done - silentSince >= needed,
            format("the tail has not ended in exact silence after 60 s (still %.3g)", last));
    return format("silence gives silence; after noise the output is exactly zero from %.3f s "
                  "after the input ended",
                  silentSince / kRate);
}

std::string checkCallbacks(Fixture& f) {
    auto host = f.instance();
    process(*host, probeSignal(kRate, 0.2, f.options().seed), kBlock);
    for (int i = 0; i < host->numParams(); ++i)
        host->setParam(i, host->getParam(i));
    const CallbackLog log = host->callbackLog();
    for (const AutomationEvent& e : log.automation)
        require(e.index >= 0 && e.index < host->numParams(),
                format("audioMasterAutomate for parameter %d, which does not exist", e.index));
    std::string unknown;
    for (VstInt32 op : log.unknownOpcodes)
        if (unknown.find(" " + std::to_string(op) + " ") == std::string::npos)
            unknown += " " + std::to_string(op) + " ";
    return format("asked the time %d, the tempo %d times; %zu automation messages, %d display "
                  "updates, %zu canDo questions%s%s",
                  log.getTime, log.tempoAt, log.automation.size(), log.updateDisplay,
                  log.canDoQueries.size(), unknown.empty() ? "" : "; unanswered opcodes:",
                  unknown.c_str());
}

size_t countEntries(const char* folder) {
    size_t n = 0;
    if (DIR* dir = opendir(folder)) {
        while (readdir(dir))
            ++n;
        closedir(dir);
    }
    return n;
}

std::string checkLeaks(Fixture& f) {
    const AudioBuffer input = probeSignal(kRate, 0.05, f.options().seed);
    auto cycle = [&] {
        auto host = f.instance();
        process(*host, input, kBlock);
        if (host->hasFlag(effFlagsProgramChunks))
            host->setChunk(host->getChunk(false), false);
        host->close();
    };
    auto heap = [] {
        // Under a sanitizer its own allocator holds the heap.
        if (__sanitizer_get_current_allocated_bytes)
            return (double)__sanitizer_get_current_allocated_bytes();
        struct mallinfo2 m = mallinfo2();
        return (double)m.uordblks + (double)m.hblkhd;
    };
    for (int i = 0; i < 5; ++i)
        cycle();
    const double heapBefore = heap();
    const size_t filesBefore = countEntries("/proc/self/fd");
    const size_t threadsBefore = countEntries("/proc/self/task");
    constexpr int kCycles = 40;
    for (int i = 0; i < kCycles; ++i)
        cycle();
    const double perCycle = (heap() - heapBefore) / kCycles;
    const size_t filesAfter = countEntries("/proc/self/fd");
    const size_t threadsAfter = countEntries("/proc/self/task");
    // Allocator bookkeeping and caches move a few hundred bytes; a leaked
    // buffer or object shows as more.
    require(perCycle < 1024.0,
            format("the heap grows by %.0f bytes per instance created and closed", perCycle));
    require(filesAfter <= filesBefore,
            format("%zu file descriptors stay open after %d instances", filesAfter - filesBefore,
                   kCycles));
    require(threadsAfter <= threadsBefore,
            format("%zu threads stay behind after %d instances", threadsAfter - threadsBefore,
                   kCycles));
    return format("%d instances: heap %+.0f bytes per instance, no files or threads left over",
                  kCycles, perCycle);
}

struct CheckEntry {
    const char* name;
    std::string (*run)(Fixture&);
};

const CheckEntry kChecks[] = {
    {"load", checkLoad},
    {"texts terminated and in bounds", checkTexts},
    {"open and close many times", checkOpenClose},
    {"load and unload the library", checkReload},
    {"every opcode with edge arguments", checkOpcodes},
    {"out-of-range indices and sizes", checkOutOfRange},
    {"sample rates 22050 to 192000 Hz", checkSampleRates},
    {"block sizes 1 to 8192, changing", checkBlockSizes},
    {"result independent of block size", checkBlockIndependence},
    {"single and double precision", checkPrecisions},
    {"parameters", checkParameters},
    {"parameters set as their properties announce", checkHonouredProperties},
    {"programs", checkPrograms},
    {"changes from a second thread", checkThreads},
    {"chunks round-trip bit for bit", checkChunks},
    {"finite output for finite input", checkFinite},
    {"tail ends in exact silence", checkSilence},
    {"host callbacks", checkCallbacks},
    {"no leaks", checkLeaks},
};

}  // namespace

Validator::Validator(ValidateOptions options) : options_(std::move(options)) {}

std::vector<std::string> Validator::checkNames() {
    std::vector<std::string> names;
    for (const CheckEntry& c : kChecks)
        names.push_back(c.name);
    return names;
}

CheckOutcome Validator::runOne(size_t index) {
    CheckOutcome outcome;
    try {
        Fixture fixture(options_);
        outcome.detail = kChecks[index].run(fixture);
    } catch (const CheckSkipped& e) {
        outcome.status = CheckOutcome::Status::Skip;
        outcome.detail = e.what();
    } catch (const CheckWarning& e) {
        outcome.status = CheckOutcome::Status::Warn;
        outcome.detail = e.what();
    } catch (const std::exception& e) {
        outcome.status = CheckOutcome::Status::Fail;
        outcome.detail = e.what();
    }
    return outcome;
}

// The check runs in a child; its outcome comes back through a pipe as one
// status letter and the detail text.
CheckOutcome Validator::runIsolated(size_t index) {
    int channel[2];
    if (pipe(channel) != 0)
        return runOne(index);
    fflush(stdout);
    fflush(stderr);
    // What the plug-in prints goes to a file, shown only if the check fails.
    FILE* log = options_.verbose ? nullptr : tmpfile();
    const pid_t child = fork();
    if (child < 0) {
        close(channel[0]);
        close(channel[1]);
        if (log)
            fclose(log);
        return runOne(index);
    }
    if (child == 0) {
        close(channel[0]);
        if (log) {
            dup2(fileno(log), STDOUT_FILENO);
            dup2(fileno(log), STDERR_FILENO);
        }
        const CheckOutcome outcome = runOne(index);
        const char status = outcome.status == CheckOutcome::Status::Pass   ? 'P'
                            : outcome.status == CheckOutcome::Status::Skip ? 'S'
                            : outcome.status == CheckOutcome::Status::Warn ? 'W'
                                                                           : 'F';
        std::string message = status + outcome.detail;
        for (size_t sent = 0; sent < message.size();) {
            const ssize_t n = write(channel[1], message.data() + sent, message.size() - sent);
            if (n <= 0)
                break;
            sent += (size_t)n;
        }
        close(channel[1]);
        _exit(0);
    }
    close(channel[1]);
    std::string message;
    bool timedOut = false;
    const auto deadline = Clock::now() + std::chrono::duration<double>(options_.timeout);
    char chunk[4096];
    for (;;) {
        const auto left =
            std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now()).count();
        if (left <= 0) {
            timedOut = true;
            kill(child, SIGKILL);
            break;
        }
        pollfd p{channel[0], POLLIN, 0};
        if (poll(&p, 1, (int)std::min<long long>(left, 1000)) <= 0)
            continue;
        const ssize_t n = read(channel[0], chunk, sizeof chunk);
        if (n <= 0)
            break;
        message.append(chunk, (size_t)n);
    }
    close(channel[0]);
    int status = 0;
    waitpid(child, &status, 0);
    std::string printed;
    if (log) {
        rewind(log);
        char line[1024];
        while (fgets(line, sizeof line, log))
            printed += line;
        fclose(log);
    }

    CheckOutcome outcome;
    if (timedOut) {
        outcome.status = CheckOutcome::Status::Fail;
        outcome.detail = format("did not finish within %.0f s", options_.timeout);
    } else if (WIFSIGNALED(status)) {
        outcome.status = CheckOutcome::Status::Fail;
        outcome.detail = format("crashed (%s)", strsignal(WTERMSIG(status)));
    } else if (message.empty() || WEXITSTATUS(status) != 0) {
        outcome.status = CheckOutcome::Status::Fail;
        // A sanitizer or an exit() in the plug-in ends the process this way.
        outcome.detail = format("ended without a result (exit status %d)", WEXITSTATUS(status));
    } else {
        outcome.status = message[0] == 'P'   ? CheckOutcome::Status::Pass
                         : message[0] == 'S' ? CheckOutcome::Status::Skip
                         : message[0] == 'W' ? CheckOutcome::Status::Warn
                                             : CheckOutcome::Status::Fail;
        outcome.detail = message.substr(1);
    }
    outcome.printed = printed;
    return outcome;
}

std::vector<CheckReport> Validator::run(const std::function<void(const CheckReport&)>& line) {
    std::vector<CheckReport> reports;
    for (size_t i = 0; i < sizeof kChecks / sizeof kChecks[0]; ++i) {
        if (!options_.only.empty() &&
            std::string(kChecks[i].name).find(options_.only) == std::string::npos)
            continue;
        const auto start = Clock::now();
        CheckReport report{kChecks[i].name, options_.isolate ? runIsolated(i) : runOne(i)};
        report.outcome.seconds = std::chrono::duration<double>(Clock::now() - start).count();
        if (line)
            line(report);
        reports.push_back(report);
    }
    return reports;
}

}  // namespace vsthost
