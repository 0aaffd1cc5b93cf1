// TapDelay as one VST 3 object: component, audio processor and edit
// controller together. The effect and its editor are one object in every
// format (the editor reads and writes the effect directly); splitting them
// into a processor and a controller that talk through messages would need a
// second copy of the effect on the controller's side. Hosts ask the
// component for its controller interface (single component), as they do for
// every plug-in that does not name a separate controller class.
//
// Threads: process() runs on the audio thread and only applies the host's
// changes, renders and reports the effect's own changes; everything else,
// the controller included, is called on the UI thread.
#pragma once

#include <memory>
#include <string>

#include "formats/shared/EffectHost.h"
#include "formats/shared/ParameterMirror.h"
#include "formats/shared/SplitRenderer.h"
#include "formats/vst3/Interfaces.h"
#include "formats/vst3/Vst3Abi.h"
#include "formats/vst3/Vst3Parameters.h"

class TapDelayView;

class TapDelayVst3 final : public vst3::IComponent,
                           public vst3::IAudioProcessor,
                           public vst3::IProcessContextRequirements,
                           public vst3::IEditController,
                           public vst3::IUnitInfo,
                           private EffectListener {
public:
    static constexpr vst3::Uid kClassId = vst3::MakeUid(0x4962050D, 0xC88E43A9, 0x93C9C4E8, 0x05FE96B3);

    TapDelayVst3();
    TapDelayVst3(const TapDelayVst3&) = delete;
    TapDelayVst3& operator=(const TapDelayVst3&) = delete;

    // FUnknown
    vst3::tresult queryInterface(const vst3::TUID iid, void** object) override;
    uint32_t addRef() override { return references.Add(); }
    uint32_t release() override { return references.Release(this); }

    // IPluginBase (for the component and the controller alike: hosts may call
    // both; the effect is made once)
    vst3::tresult initialize(vst3::FUnknown* context) override;
    vst3::tresult terminate() override;

    // IComponent
    vst3::tresult getControllerClassId(vst3::TUID classId) override;
    vst3::tresult setIoMode(int32_t mode) override;
    int32_t getBusCount(int32_t type, int32_t direction) override;
    vst3::tresult getBusInfo(int32_t type, int32_t direction, int32_t index, vst3::BusInfo& bus) override;
    vst3::tresult getRoutingInfo(vst3::RoutingInfo& in, vst3::RoutingInfo& out) override;
    vst3::tresult activateBus(int32_t type, int32_t direction, int32_t index, vst3::TBool state) override;
    vst3::tresult setActive(vst3::TBool state) override;
    // The whole bank and current program. The controller's setState and
    // getState have the same signature and so are these same two: its
    // state is the component's (a host that keeps both gets the bank twice).
    vst3::tresult setState(vst3::IBStream* state) override;
    vst3::tresult getState(vst3::IBStream* state) override;

    // IAudioProcessor
    vst3::tresult setBusArrangements(vst3::SpeakerArrangement* inputs, int32_t numInputs,
                                     vst3::SpeakerArrangement* outputs, int32_t numOutputs) override;
    vst3::tresult getBusArrangement(int32_t direction, int32_t index, vst3::SpeakerArrangement& arrangement) override;
    vst3::tresult canProcessSampleSize(int32_t symbolicSampleSize) override;
    uint32_t getLatencySamples() override { return 0; }
    vst3::tresult setupProcessing(vst3::ProcessSetup& setup) override;
    vst3::tresult setProcessing(vst3::TBool state) override;
    vst3::tresult process(vst3::ProcessData& data) override;
    uint32_t getTailSamples() override;

    // IProcessContextRequirements: the tempo is all the effect reads.
    uint32_t getProcessContextRequirements() override { return vst3::IProcessContextRequirements::kNeedTempo; }

    // IEditController
    vst3::tresult setComponentState(vst3::IBStream* state) override;
    int32_t getParameterCount() override { return Vst3Parameters::kCount; }
    vst3::tresult getParameterInfo(int32_t index, vst3::ParameterInfo& info) override;
    vst3::tresult getParamStringByValue(vst3::ParamID id, vst3::ParamValue normalised, vst3::String128 text) override;
    vst3::tresult getParamValueByString(vst3::ParamID id, vst3::char16* text, vst3::ParamValue& normalised) override;
    vst3::ParamValue normalizedParamToPlain(vst3::ParamID id, vst3::ParamValue normalised) override;
    vst3::ParamValue plainParamToNormalized(vst3::ParamID id, vst3::ParamValue plain) override;
    vst3::ParamValue getParamNormalized(vst3::ParamID id) override;
    vst3::tresult setParamNormalized(vst3::ParamID id, vst3::ParamValue normalised) override;
    vst3::tresult setComponentHandler(vst3::IComponentHandler* handler) override;
    vst3::IPlugView* createView(vst3::FIDString name) override;

    // IUnitInfo: the root unit with the program list.
    int32_t getUnitCount() override { return 1; }
    vst3::tresult getUnitInfo(int32_t index, vst3::UnitInfo& info) override;
    int32_t getProgramListCount() override { return 1; }
    vst3::tresult getProgramListInfo(int32_t index, vst3::ProgramListInfo& info) override;
    vst3::tresult getProgramName(int32_t listId, int32_t program, vst3::String128 name) override;
    vst3::tresult getProgramInfo(int32_t, int32_t, const char*, vst3::String128) override { return vst3::kResultFalse; }
    vst3::tresult hasProgramPitchNames(int32_t, int32_t) override { return vst3::kResultFalse; }
    vst3::tresult getProgramPitchName(int32_t, int32_t, int16_t, vst3::String128) override { return vst3::kResultFalse; }
    int32_t getSelectedUnit() override { return vst3::kRootUnitId; }
    vst3::tresult selectUnit(int32_t unitId) override;
    vst3::tresult getUnitByBus(int32_t, int32_t, int32_t, int32_t, int32_t& unitId) override;
    vst3::tresult setUnitProgramData(int32_t, int32_t, vst3::IBStream*) override { return vst3::kNotImplemented; }

    // For the view (UI thread). One view shows the editor at a time.
    EffectHost* Host() { return host.get(); }
    bool AttachView(TapDelayView* view);
    void DetachView(TapDelayView* view);

private:
    friend class vst3::ReferenceCount;
    ~TapDelayVst3();

    // EffectListener: the editor's gestures go to the host's handler.
    void BeginEdit(int index) override;
    void Edited(int index, float normalised) override;
    void EndEdit(int index) override;
    bool ResizeRequested(int width, int height) override;
    void DisplayChanged() override;

    // The audio thread's side of process().
    void ApplyHostChange(vst3::ParamID id, double value);
    void ReportEffectChanges(vst3::IParameterChanges* out, int frames);
    // The controller's values: what the host has been told the effect holds.
    void TakeEffectValues();
    bool ProgramNamesChanged();
    std::string ProgramName(int program);

    vst3::ReferenceCount references;
    int initializations = 0;
    std::unique_ptr<EffectHost> host;
    SplitRenderer renderer;

    // Set while the processor is inactive.
    bool monoInput = false;
    // Audio thread: the values the host knows from its own changes, and the
    // frames since the last look for the effect's (the first block looks).
    static constexpr int kReportFrames = 2048;  // about 45 ms
    ParameterMirror reported;
    int framesSinceReport = kReportFrames;

    // UI thread.
    double values[Vst3Parameters::kCount] = {};
    std::string programNames[kNumPrograms];
    vst3::IComponentHandler* handler = nullptr;
    vst3::IUnitHandler* unitHandler = nullptr;
    TapDelayView* view = nullptr;
};
