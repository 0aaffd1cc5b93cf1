#include "formats/vst3/TapDelayVst3.h"

#include <strings.h>

#include <algorithm>
#include <cstdlib>
#include <vector>

#include "formats/shared/BankState.h"
#include "formats/vst3/Interfaces.h"
#include "formats/vst3/QueuedChanges.h"
#include "formats/vst3/TapDelayView.h"
#include "formats/vst3/Utf16.h"
#include "host/HostQuirks.h"
#include "toolkit/TextConvert.h"

using namespace vst3;
using namespace Vst3Parameters;

namespace {

// Reads until the stream ends or `capacity` bytes are in; the count read.
size_t ReadAll(IBStream* stream, uint8_t* buffer, size_t capacity) {
    size_t done = 0;
    while (done < capacity) {
        int32_t got = 0;
        if (stream->read(buffer + done, (int32_t)(capacity - done), &got) != kResultOk || got <= 0) break;
        done += (size_t)got;
    }
    return done;
}

bool WriteAll(IBStream* stream, uint8_t* data, size_t size) {
    size_t done = 0;
    while (done < size) {
        int32_t put = 0;
        if (stream->write(data + done, (int32_t)(size - done), &put) != kResultOk || put <= 0) return false;
        done += (size_t)put;
    }
    return true;
}

template <class Sample>
Sample** Channels(const AudioBusBuffers& bus);
template <>
float** Channels<float>(const AudioBusBuffers& bus) { return bus.channelBuffers32; }
template <>
double** Channels<double>(const AudioBusBuffers& bus) { return bus.channelBuffers64; }

// One block in the bus's sample size; an input without its buffers is
// silence, read in place from the zeroed outputs.
template <class Sample, class Changes>
void Render(SplitRenderer& renderer, ATapDelay& effect, const AudioBusBuffers* in, AudioBusBuffers& out,
            int frames, Changes& changes) {
    Sample** inputs = in ? Channels<Sample>(*in) : nullptr;
    const int numInputs = inputs ? std::min(in->numChannels, 2) : 0;
    bool given = numInputs > 0;
    for (int c = 0; c < numInputs; c++) given = given && inputs[c];
    Sample** outputs = Channels<Sample>(out);
    if (!given) {
        for (int c = 0; c < 2; c++) std::fill(outputs[c], outputs[c] + frames, Sample(0));
        renderer.Process(effect, outputs, 2, outputs, frames, changes);
    } else {
        renderer.Process(effect, inputs, numInputs, outputs, frames, changes);
    }
}

// The resources lie in the bundle's Contents/Resources/, beside the folder
// of the library (found through symbolic links).
std::string BundleResources() { return HostQuirks::PluginFolder(nullptr) + "../Resources/"; }

}  // namespace

TapDelayVst3::TapDelayVst3() = default;

TapDelayVst3::~TapDelayVst3() {
    if (host) host->SetListener(nullptr);
    if (handler) handler->release();
    if (unitHandler) unitHandler->release();
}

// --- FUnknown ------------------------------------------------------------------------

// IPluginBase is the component's: the controller's is the same object.
tresult TapDelayVst3::queryInterface(const TUID iid, void** object) {
    const char* asked = SameUid(iid, IPluginBase::iid) ? AsTuid(IComponent::iid) : iid;
    return QueryInterfaces<IComponent, IAudioProcessor, IProcessContextRequirements, IEditController, IUnitInfo>(
        this, asked, object);
}

// --- IPluginBase -----------------------------------------------------------------------

tresult TapDelayVst3::initialize(FUnknown*) {
    if (initializations++ > 0) return kResultOk;
    if (!host) {
        host.reset(new EffectHost(BundleResources()));
        reported.KnowAll(host->Effect());
    }
    host->SetListener(this);
    TakeEffectValues();
    ProgramNamesChanged();
    return kResultOk;
}

tresult TapDelayVst3::terminate() {
    if (initializations == 0 || --initializations > 0) return kResultOk;
    setComponentHandler(nullptr);
    return kResultOk;
}

// --- IComponent --------------------------------------------------------------------------

tresult TapDelayVst3::getControllerClassId(TUID) { return kResultFalse; }

tresult TapDelayVst3::setIoMode(int32_t) { return kNotImplemented; }

int32_t TapDelayVst3::getBusCount(int32_t type, int32_t direction) {
    return type == kAudio && (direction == kInput || direction == kOutput) ? 1 : 0;
}

tresult TapDelayVst3::getBusInfo(int32_t type, int32_t direction, int32_t index, BusInfo& bus) {
    if (type != kAudio || index != 0 || (direction != kInput && direction != kOutput)) return kInvalidArgument;
    bus = {};
    bus.mediaType = kAudio;
    bus.direction = direction;
    bus.channelCount = direction == kInput && monoInput ? 1 : 2;
    CopyUtf16(bus.name, 128, direction == kInput ? "Input" : "Output");
    bus.busType = kMain;
    bus.flags = BusInfo::kDefaultActive;
    return kResultOk;
}

tresult TapDelayVst3::getRoutingInfo(RoutingInfo&, RoutingInfo&) { return kResultFalse; }

// Both buses stay in use: an inactive input reads as silence in process().
tresult TapDelayVst3::activateBus(int32_t type, int32_t direction, int32_t index, TBool) {
    return getBusCount(type, direction) > index && index >= 0 ? kResultOk : kInvalidArgument;
}

// Not the effect's resume and suspend: they switch the power parameter,
// which here is the host's bypass, kept in its session.
tresult TapDelayVst3::setActive(TBool state) {
    if (!host) return kNotInitialized;
    if (state) host->Effect().startProcess();
    return kResultOk;
}

tresult TapDelayVst3::setState(IBStream* state) {
    if (!host) return kNotInitialized;
    if (!state) return kInvalidArgument;
    // One byte more than a state holds tells a long stream from a right one.
    std::vector<uint8_t> data(BankState::kBytes + 1);
    const size_t size = ReadAll(state, data.data(), data.size());
    if (!BankState::Restore(host->Effect(), data.data(), size)) return kResultFalse;
    TakeEffectValues();
    return kResultOk;
}

tresult TapDelayVst3::getState(IBStream* state) {
    if (!host) return kNotInitialized;
    if (!state) return kInvalidArgument;
    std::vector<uint8_t> data(BankState::kBytes);
    BankState::Save(host->Effect(), data.data());
    return WriteAll(state, data.data(), data.size()) ? kResultOk : kResultFalse;
}

// --- IAudioProcessor -----------------------------------------------------------------------

tresult TapDelayVst3::setBusArrangements(SpeakerArrangement* inputs, int32_t numInputs,
                                         SpeakerArrangement* outputs, int32_t numOutputs) {
    if (numInputs != 1 || numOutputs != 1 || !inputs || !outputs) return kResultFalse;
    if (outputs[0] != kSpeakerStereo) return kResultFalse;
    if (inputs[0] != kSpeakerStereo && inputs[0] != kSpeakerMono) return kResultFalse;
    monoInput = inputs[0] == kSpeakerMono;
    return kResultTrue;
}

tresult TapDelayVst3::getBusArrangement(int32_t direction, int32_t index, SpeakerArrangement& arrangement) {
    if (index != 0 || (direction != kInput && direction != kOutput)) return kInvalidArgument;
    arrangement = direction == kInput && monoInput ? kSpeakerMono : kSpeakerStereo;
    return kResultOk;
}

tresult TapDelayVst3::canProcessSampleSize(int32_t size) {
    return size == kSample32 || size == kSample64 ? kResultTrue : kResultFalse;
}

tresult TapDelayVst3::setupProcessing(ProcessSetup& setup) {
    if (!host) return kNotInitialized;
    if (canProcessSampleSize(setup.symbolicSampleSize) != kResultTrue) return kResultFalse;
    host->SetSampleRate(setup.sampleRate);
    host->Effect().setBlockSize(setup.maxSamplesPerBlock);
    return kResultOk;
}

// Starting clears the delay lines (the effect does it before its next block).
tresult TapDelayVst3::setProcessing(TBool state) {
    if (!host) return kNotInitialized;
    if (state) host->Effect().startProcess();
    return kResultOk;
}

uint32_t TapDelayVst3::getTailSamples() {
    if (!host) return 0;
    const uint32_t tail = host->TailFrames();
    return tail == EffectHost::kInfiniteTail ? kInfiniteTail : tail;
}

// The host knows what it sent, except that the bypass and the power switch
// are one: a change of either is reported as both.
void TapDelayVst3::ApplyHostChange(ParamID id, double value) {
    ATapDelay& effect = host->Effect();
    const float normalised = ::ParameterInfo::Clamp((float)value);
    if (id == kBypass || id == kParamOnOff) {
        effect.setParameter(kParamOnOff, id == kBypass ? PowerForBypass(normalised) : normalised);
    } else if (IsEffectParameter(id)) {
        effect.setParameter((int)id, normalised);
        reported.Know((int)id, effect.getParameter((int)id));
    }  // the program changes on the controller's side
}

// What the effect changed by itself (tempo sync, the editor) reaches the host
// as output changes; a change of the power switch moves the bypass too. Looked
// for once every kReportFrames: comparing every value after every short block
// would cost more than the format's whole share of the work.
void TapDelayVst3::ReportEffectChanges(IParameterChanges* out, int frames) {
    framesSinceReport += std::max(frames, 0);
    if (!out || framesSinceReport < kReportFrames) return;
    framesSinceReport = 0;
    auto send = [out](ParamID id, double value) {
        int32_t index = 0;
        if (IParamValueQueue* queue = out->addParameterData(id, index)) queue->addPoint(0, value, index);
    };
    reported.TellChanges(host->Effect(), [&](int index, float value) {
        send((ParamID)index, value);
        if (index == kParamOnOff) send(kBypass, BypassForPower(value));
    });
}

tresult TapDelayVst3::process(ProcessData& data) {
    if (!host) return kNotInitialized;
    ATapDelay& effect = host->Effect();
    const ProcessContext* context = data.processContext;
    host->SetTempo(context && (context->state & ProcessContext::kTempoValid) ? context->tempo : 0.0);

    auto apply = [this](ParamID id, double value) { ApplyHostChange(id, value); };
    QueuedChanges<decltype(apply)> changes(data.inputParameterChanges, apply);
    const int frames = data.numSamples;
    AudioBusBuffers* out = data.numOutputs > 0 ? data.outputs : nullptr;
    AudioBusBuffers* in = data.numInputs > 0 ? data.inputs : nullptr;
    // The two sample sizes share the pointer: either one tells.
    const bool outputs = out && out->numChannels >= 2 && out->channelBuffers32 &&
                         out->channelBuffers32[0] && out->channelBuffers32[1];
    if (frames <= 0 || !outputs) {
        // Nothing to render (a host flushing parameters): the changes alone.
        for (int next; (next = changes.NextFrame()) != SplitRenderer::kNone;) changes.ApplyAt(next);
    } else {
        out->silenceFlags = 0;
        if (data.symbolicSampleSize == kSample64)
            Render<double>(renderer, effect, in, *out, frames, changes);
        else
            Render<float>(renderer, effect, in, *out, frames, changes);
    }
    ReportEffectChanges(data.outputParameterChanges, frames);
    return kResultOk;
}

// --- IEditController ---------------------------------------------------------------------------

void TapDelayVst3::TakeEffectValues() {
    ATapDelay& effect = host->Effect();
    for (int index = 0; index < kNumParams; index++) values[index] = effect.getParameter(index);
    values[kBypass] = BypassForPower((float)values[kParamOnOff]);
    values[kProgram] = ProgramValue(effect.getProgram());
}

// The component state the host gives the controller: the values of its
// current program, which the effect holds too once the component has it.
tresult TapDelayVst3::setComponentState(IBStream* state) {
    if (!host) return kNotInitialized;
    if (!state) return kInvalidArgument;
    std::vector<uint8_t> data(BankState::kBytes + 1);
    const size_t size = ReadAll(state, data.data(), data.size());
    int program = 0;
    float current[kNumParams];
    if (!BankState::ReadCurrent(data.data(), size, &program, current)) return kResultFalse;
    for (int index = 0; index < kNumParams; index++) values[index] = current[index];
    values[kBypass] = BypassForPower(current[kParamOnOff]);
    values[kProgram] = ProgramValue(program);
    return kResultOk;
}

tresult TapDelayVst3::getParameterInfo(int32_t index, vst3::ParameterInfo& info) {
    if (!host) return kNotInitialized;
    if (index < 0 || index >= kCount) return kInvalidArgument;
    const ParamID id = (ParamID)index;
    double defaultValue = 0.0;
    if (IsEffectParameter(id))
        defaultValue = host->DefaultValue(index);
    else if (id == kBypass)
        defaultValue = BypassForPower(host->DefaultValue(kParamOnOff));
    return Describe(id, defaultValue, info) ? kResultOk : kInvalidArgument;
}

std::string TapDelayVst3::ProgramName(int program) {
    char name[64] = {};
    char utf8[256] = {};
    host->Effect().getProgramNameIndexed(0, program, name);
    CheckSJISAndToUFT8(name, utf8, sizeof utf8);
    // Hosts skip programs without a name.
    return utf8[0] ? utf8 : "Program " + std::to_string(program + 1);
}

tresult TapDelayVst3::getParamStringByValue(ParamID id, ParamValue normalised, String128 text) {
    if (!host) return kNotInitialized;
    if (!text || !IsValid(id)) return kInvalidArgument;
    const std::string shown = id == kProgram ? ProgramName(ProgramOf(normalised))
                                             : ::ParameterInfo::Text((int)id, (float)normalised);
    CopyUtf16(text, 128, shown);
    return kResultOk;
}

tresult TapDelayVst3::getParamValueByString(ParamID id, char16* text, ParamValue& normalised) {
    if (!host) return kNotInitialized;
    if (!text || !IsValid(id)) return kInvalidArgument;
    const std::string typed = ToUtf8(text, 128);
    if (id == kProgram) {
        for (int program = 0; program < kNumPrograms; program++)
            if (strcasecmp(typed.c_str(), ProgramName(program).c_str()) == 0)
                return normalised = ProgramValue(program), kResultOk;
        char* end = nullptr;
        const long number = std::strtol(typed.c_str(), &end, 10);
        if (end == typed.c_str() || *end || number < 1 || number > kNumPrograms) return kResultFalse;
        normalised = ProgramValue((int)number - 1);
        return kResultOk;
    }
    float value = 0.0f;
    if (!::ParameterInfo::Parse((int)id, typed.c_str(), &value)) return kResultFalse;
    normalised = value;
    return kResultOk;
}

ParamValue TapDelayVst3::normalizedParamToPlain(ParamID id, ParamValue normalised) {
    return ToPlain(id, normalised);
}

ParamValue TapDelayVst3::plainParamToNormalized(ParamID id, ParamValue plain) {
    return ToNormalised(id, plain);
}

ParamValue TapDelayVst3::getParamNormalized(ParamID id) { return IsValid(id) ? values[id] : 0.0; }

// The host tells the controller what it sent (or will send) the processor;
// the effect hears it there, at its sample offset. The program is the
// exception: it is loaded here, on the UI thread, as a VST 2 host's
// effSetProgram is (a program load takes the program lock, which the audio
// thread never waits for).
tresult TapDelayVst3::setParamNormalized(ParamID id, ParamValue normalised) {
    if (!host) return kNotInitialized;
    if (!IsValid(id)) return kInvalidArgument;
    const float value = ::ParameterInfo::Clamp((float)normalised);
    if (id == kProgram) {
        ATapDelay& effect = host->Effect();
        const int program = ProgramOf(value);
        if (program != effect.getProgram()) effect.setProgram(program);
        TakeEffectValues();
        return kResultOk;
    }
    values[id] = value;
    if (id == kBypass) values[kParamOnOff] = PowerForBypass(value);
    if (id == kParamOnOff) values[kBypass] = BypassForPower(value);
    return kResultOk;
}

tresult TapDelayVst3::setComponentHandler(IComponentHandler* newHandler) {
    if (newHandler) newHandler->addRef();
    if (handler) handler->release();
    if (unitHandler) unitHandler->release();
    handler = newHandler;
    unitHandler = nullptr;
    if (handler && handler->queryInterface(AsTuid(IUnitHandler::iid), (void**)&unitHandler) != kResultOk)
        unitHandler = nullptr;
    return kResultOk;
}

IPlugView* TapDelayVst3::createView(FIDString name) {
    if (!host || !name || std::strcmp(name, kEditorViewType) != 0) return nullptr;
    return new TapDelayView(*this);
}

bool TapDelayVst3::AttachView(TapDelayView* newView) {
    if (view && view != newView) return false;
    view = newView;
    return true;
}

void TapDelayVst3::DetachView(TapDelayView* oldView) {
    if (view == oldView) view = nullptr;
}

// --- the editor's gestures --------------------------------------------------------------------

// The power switch and the bypass move together, in one gesture each.
void TapDelayVst3::BeginEdit(int index) {
    if (!handler) return;
    handler->beginEdit((ParamID)index);
    if (index == kParamOnOff) handler->beginEdit(kBypass);
}

void TapDelayVst3::Edited(int index, float normalised) {
    values[index] = normalised;
    if (index == kParamOnOff) values[kBypass] = BypassForPower(normalised);
    if (!handler) return;
    handler->performEdit((ParamID)index, normalised);
    if (index == kParamOnOff) handler->performEdit(kBypass, values[kBypass]);
}

void TapDelayVst3::EndEdit(int index) {
    if (!handler) return;
    handler->endEdit((ParamID)index);
    if (index == kParamOnOff) handler->endEdit(kBypass);
}

bool TapDelayVst3::ResizeRequested(int width, int height) { return view && view->AskFrameForSize(width, height); }

// A program copied, reverted or saved in the editor: every value may have
// moved and names may have changed. Called from the editor's idle, never
// from inside a host call (a host may hold its own locks there).
void TapDelayVst3::DisplayChanged() {
    TakeEffectValues();
    if (handler) handler->restartComponent(kParamValuesChanged);
    if (ProgramNamesChanged() && unitHandler) unitHandler->notifyProgramListChange(kProgramListId, -1);
}

bool TapDelayVst3::ProgramNamesChanged() {
    bool changed = false;
    for (int program = 0; program < kNumPrograms; program++) {
        std::string name = ProgramName(program);
        if (name == programNames[program]) continue;
        programNames[program] = name;
        changed = true;
    }
    return changed;
}

// --- IUnitInfo ------------------------------------------------------------------------------------

tresult TapDelayVst3::getUnitInfo(int32_t index, UnitInfo& info) {
    if (index != 0) return kInvalidArgument;
    info = {};
    info.id = kRootUnitId;
    info.parentUnitId = kNoParentUnitId;
    CopyUtf16(info.name, 128, "Root");
    info.programListId = kProgramListId;
    return kResultOk;
}

tresult TapDelayVst3::getProgramListInfo(int32_t index, ProgramListInfo& info) {
    if (index != 0) return kInvalidArgument;
    info = {};
    info.id = kProgramListId;
    CopyUtf16(info.name, 128, "Programs");
    info.programCount = kNumPrograms;
    return kResultOk;
}

tresult TapDelayVst3::getProgramName(int32_t listId, int32_t program, String128 name) {
    if (!host) return kNotInitialized;
    if (listId != kProgramListId || program < 0 || program >= kNumPrograms || !name) return kInvalidArgument;
    CopyUtf16(name, 128, ProgramName(program));
    return kResultOk;
}

tresult TapDelayVst3::selectUnit(int32_t unitId) { return unitId == kRootUnitId ? kResultOk : kResultFalse; }

tresult TapDelayVst3::getUnitByBus(int32_t, int32_t, int32_t, int32_t, int32_t& unitId) {
    unitId = kRootUnitId;
    return kResultOk;
}
