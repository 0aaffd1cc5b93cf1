// The VST 3 bundle in the tests' own host, against the VST 2 plug-in: what a
// host is told (class, buses, parameters, programs), renders bit for bit with
// changes at sample offsets, tempo, the bypass, the state and the editor.
#include "tests/support/XUser.h"

#include <poll.h>

#include <algorithm>

#include "formats/shared/ParameterInfo.h"
#include "tests/support/Vst2Reference.h"
#include "tests/vst3/Vst3Host.h"

using namespace vst3test;
using Flag = vst3::ParameterInfo::Flags;
using Vst2Change = Vst2Reference::Change;

namespace {

constexpr ParamID kBypass = 62, kProgram = 63;
constexpr int kBlock = 512;

class Vst3Plugin : public ::testing::Test {
protected:
    IsolatedPreferences preferences;  // no user bank, before any instance
    Plugin plugin;
    void SetUp() override { ASSERT_TRUE(plugin.Ready()); }
};

TEST_F(Vst3Plugin, ClassBusesAndProgramsAsAHostSeesThem) {
    Vst2Reference reference;
    PClassInfo2 info;
    ASSERT_EQ(static_cast<IPluginFactory2*>(plugin.factory)->getClassInfo2(0, &info), kResultOk);
    EXPECT_STREQ(info.category, kAudioEffectClass);
    EXPECT_STREQ(info.subCategories, "Fx|Delay");
    EXPECT_EQ(info.name + (", " + std::string(info.vendor)),
              reference.text(effGetEffectName) + ", " + reference.text(effGetVendorString));
    void* object = nullptr;
    EXPECT_EQ(plugin.factory->createInstance("not our class id", AsTuid(IComponent::iid), &object), kNoInterface);

    // A refused arrangement (a mono output, 5.1) leaves the last accepted one.
    const struct { SpeakerArrangement in, out; tresult result; int inputChannels; } arrangements[] = {
        {kSpeakerMono, kSpeakerStereo, kResultTrue, 1}, {kSpeakerStereo, kSpeakerMono, kResultFalse, 1},
        {0x3F, 0x3F, kResultFalse, 1}, {kSpeakerStereo, kSpeakerStereo, kResultTrue, 2}};
    for (auto a : arrangements) {
        EXPECT_EQ(plugin.processor->setBusArrangements(&a.in, 1, &a.out, 1), a.result) << std::hex << a.in;
        BusInfo bus;
        ASSERT_EQ(plugin.component->getBusInfo(kAudio, kInput, 0, bus), kResultOk);
        EXPECT_EQ(bus.channelCount, a.inputChannels) << std::hex << a.in;
    }

    UnitInfo unit;
    ProgramListInfo list;
    String128 name = {};
    ASSERT_EQ(plugin.units->getUnitInfo(0, unit), kResultOk);
    ASSERT_EQ(plugin.units->getProgramListInfo(0, list), kResultOk);
    EXPECT_TRUE(unit.programListId == list.id && list.programCount == 64);
    for (int program : {0, 9, 63}) {
        EXPECT_EQ(plugin.units->getProgramName(list.id, program, name), kResultOk);
        EXPECT_EQ(Utf8(name), reference.text(effGetProgramNameIndexed, program));
    }
}

// Title, unit, steps, flags, default and texts as the VST 2 plug-in has them;
// plain values that convert back bit for bit; typed text, program names too.
TEST_F(Vst3Plugin, EveryParameterAsTheVst2PluginHasIt) {
    Vst2Reference reference;
    ASSERT_EQ(plugin.controller->getParameterCount(), 64);
    for (int32_t index = 0; index < 64; index++) {
        vst3::ParameterInfo info;
        ASSERT_EQ(plugin.controller->getParameterInfo(index, info), kResultOk);
        const bool effect = index < kNumParams;
        EXPECT_TRUE(info.id == (ParamID)index && info.unitId == kRootUnitId) << index;
        EXPECT_EQ(info.flags, index == kProgram ? Flag::kIsProgramChange | Flag::kIsList
                                                : Flag::kCanAutomate | (index == kBypass ? Flag::kIsBypass : 0) |
                                                      (ParameterInfo::IsList(index) ? Flag::kIsList : 0));
        EXPECT_EQ(info.stepCount, index == kProgram ? 63 : ParameterInfo::StepCount(index));
        EXPECT_EQ(info.defaultNormalizedValue, effect ? reference.getParameter(index) : 0.0) << index;
        EXPECT_EQ(Utf8(info.title), effect ? reference.name(index) : index == kBypass ? "Bypass" : "Program");
        EXPECT_EQ(Utf8(info.shortTitle), index == kProgram ? "Program" : ParameterInfo::ShortTitle(index));
        EXPECT_EQ(Utf8(info.units), effect ? reference.text(effGetParamLabel, index) : "");
        for (double value : {0.0, 0.1, 1.0 / 3.0, 1.0}) {
            const double plain = plugin.controller->normalizedParamToPlain(index, value);
            EXPECT_EQ(plugin.controller->plainParamToNormalized(index, plain), (double)(float)value) << index;
            if (!effect) continue;
            reference.setParameter(index, (float)value);
            EXPECT_EQ(plugin.Text(index, value), reference.display(index)) << index << " at " << value;
        }
    }
    EXPECT_EQ(plugin.controller->normalizedParamToPlain(kProgram, 5 / 63.0), 5.0);

    const struct { ParamID id; const char16_t* text; tresult result; const char* shown; } typed[] = {
        {3, u"250 ms", kResultOk, "250.0"}, {kProgram, u"Slapback", kResultOk, "Slapback"},
        {kProgram, u"3", kResultOk, "Rockabilly Slap"}, {kProgram, u"65", kResultFalse, ""},
        {3, u"fast", kResultFalse, ""}, {99, u"1", kInvalidArgument, ""}};
    for (const auto& t : typed) {
        ParamValue value = -1.0;
        EXPECT_EQ(plugin.controller->getParamValueByString(t.id, const_cast<char16_t*>(t.text), value), t.result);
        EXPECT_EQ(t.result == kResultOk ? plugin.Text(t.id, value) : "", t.shown);
    }
}

// A program chosen through the program-change parameter, changes at sample
// offsets in the first block (one beyond it) and 120 BPM from the process
// context, against VST 2 blocks cut at those offsets. The host hears none of
// its own changes back (a program is the plug-in's change).
struct Render { const char* name; int program; bool doublePrecision, automation; };  // program 0: as it opens

template <class Sample>
void ExpectSameAsVst2(Plugin& plugin, const Render& render) {
    const std::vector<Vst2Change> changes = {{0, 60, 0.0},        {0, 3, 0.05},   {100, 3, 0.01},
                                             {100, 58, 0.6},      {100, 57, 1.0}, {300, kBypass, 1.0},
                                             {400, kBypass, 0.0}, {450, 59, 0.8}, {kBlock + 20, 1, 0.3}};
    const Stereo<Sample> in = TestSignal<Sample>(260 * kBlock);  // 3 s
    Stereo<Sample> source = in, out(in.left.size());
    Vst2Reference reference;
    std::vector<Vst2Change> cut = {{0, Vst2Reference::kTempo, 120.0}};
    Changes queued;
    ASSERT_EQ(plugin.Prepare(sizeof(Sample) == 8 ? kSample64 : kSample32, kBlock), kResultOk);
    reference.setProgram(render.program);
    plugin.controller->setParamNormalized(kProgram, render.program / 63.0);
    for (const Vst2Change& c : render.automation ? changes : std::vector<Vst2Change>{}) {
        queued.Add(c.index, (int32_t)c.frame, c.value);
        cut.push_back({std::min<size_t>(c.frame, kBlock), c.index, c.value});
    }
    ProcessContext tempo = Tempo(120.0);
    for (size_t done = 0; done < in.left.size(); done += kBlock) {
        plugin.Process(source.At(done), out.At(done), kBlock, done ? nullptr : &queued, &tempo);
        EXPECT_TRUE(done || render.program > 0 || !plugin.reported.count) << plugin.reported.count;
    }
    EXPECT_TRUE(out == reference.Render(in, cut));
    EXPECT_GT(*std::max_element(out.left.begin(), out.left.end()), (Sample)0.01);
}

class Vst3Render : public Vst3Plugin, public ::testing::WithParamInterface<Render> {};

TEST_P(Vst3Render, BitIdenticalToTheVst2Plugin) {
    (GetParam().doublePrecision ? ExpectSameAsVst2<double> : ExpectSameAsVst2<float>)(plugin, GetParam());
}

const Render kRenders[] = {
    {"DefaultFloat", 0, false, false},   {"DefaultDouble", 0, true, false},  {"Program1Float", 1, false, false},
    {"Program9Double", 9, true, false},  {"Program25Float", 25, false, false}, {"Program34Double", 34, true, false},
    {"SplitAutomationFloat", 0, false, true}, {"SplitAutomationDouble", 0, true, true}};
INSTANTIATE_TEST_SUITE_P(Programs, Vst3Render, ::testing::ValuesIn(kRenders),
                         [](const ::testing::TestParamInfo<Render>& info) { return info.param.name; });

// What the host hears back after a block: the synced taps the tempo moved
// (none without a tempo), and the bypass and the power switch in step both
// ways, on the controller too.
TEST_F(Vst3Plugin, OutputChangesTellTheHostWhatTheEffectChanged) {
    constexpr int kFrames = 2048;  // the plug-in looks for its own changes this often
    plugin.Prepare(kSample32, kFrames);
    Stereo<float> in(kFrames), out(kFrames);
    // A change sent (`bpm` as Process takes it) and the text the host hears for `other`.
    const struct { ParamID id; double value, bpm; ParamID other; const char* heard; } steps[] = {
        {kParamTempoSync, 0.0, 100.0, 3, ""},      {kParamSyncNote, 0.0, 100.0, 3, ""},
        {kParamTempoSync, 1.0, 100.0, 3, "600.0"}, {kParamTempoSync, 1.0, 150.0, 3, "400.0"},
        {kParamTempoSync, 1.0, -90, 3, ""},        {kBypass, 1.0, 0, kParamOnOff, "OFF"},
        {kParamOnOff, 1.0, 0, kBypass, "OFF"},     {kParamOnOff, 0.0, 0, kBypass, "ON"},
        {kBypass, 0.0, 0, kParamOnOff, "ON"}};
    for (const auto& s : steps) {
        plugin.controller->setParamNormalized(s.id, s.value);  // as a host does with what it sends
        Changes change;
        change.Add(s.id, 0, s.value);
        ProcessContext context = Tempo(s.bpm);
        plugin.Process(in.At(0), out.At(0), kFrames, &change, &context);
        const double heard = plugin.reported.Last(s.other);
        EXPECT_EQ(heard < 0 ? "" : plugin.Text(s.other, heard), s.heard) << s.id << " " << s.value;
        EXPECT_TRUE(s.other == 3 ||
                    (heard == (s.heard[1] == 'N') && plugin.controller->getParamNormalized(s.other) == heard))
            << "the other half on the controller too";
    }
}

// The component state is the bank with its current program and the controller
// follows it; short, long and garbage streams change nothing.
TEST_F(Vst3Plugin, StateCarriesTheBankAndRefusesBadStreams) {
    Plugin restored;
    ASSERT_TRUE(restored.Ready());
    plugin.Prepare(kSample32, kBlock);
    plugin.controller->setParamNormalized(kProgram, 5 / 63.0);
    Changes changes;
    changes.Add(3, 0, 0.125);
    changes.Add(kBypass, 0, 1.0);
    Stereo<float> in(kBlock), out(kBlock);
    plugin.Process(in.At(0), out.At(0), kBlock, &changes);
    const std::string state = plugin.State();
    auto value = [&](ParamID id) { return restored.controller->getParamNormalized(id); };
    for (const std::string& bytes :
         {state, state.substr(0, 100), state + "x", std::string(state.size(), '\x7f'), std::string()}) {
        const tresult result = bytes == state ? kResultOk : kResultFalse;
        MemoryStream stream(bytes);
        EXPECT_EQ(restored.controller->setComponentState(&stream), result) << bytes.size() << " bytes";
        EXPECT_TRUE(value(kProgram) == 5 / 63.0 && value(3) == 0.125 && value(kBypass) == 1.0)
            << "the controller follows the stream, " << bytes.size() << " bytes";
        EXPECT_EQ(restored.SetState(bytes), result) << bytes.size() << " bytes";
        EXPECT_TRUE(restored.State() == state) << bytes.size() << " bytes";
    }
}

std::string Size(const ViewRect& r) {
    return std::to_string(r.right - r.left) + "x" + std::to_string(r.bottom - r.top);
}

// The host's frame with its run loop: one event handler and one timer.
class Frame : public HostObject<IPlugFrame, IRunLoop> {
public:
    // As Ardour does: the window follows, then the view hears the size, its own.
    tresult resizeView(IPlugView* view, ViewRect* size) override {
        const tresult own = view->onSize(size);
        return resized = Size(*size) + (own == kResultTrue ? "" : " refused"), own;
    }
    tresult registerEventHandler(IEventHandler* h, int f) override { return events = h, fd = f, kResultOk; }
    tresult unregisterEventHandler(IEventHandler*) override { return events = nullptr, kResultOk; }
    tresult registerTimer(ITimerHandler* h, uint64_t ms) override { return timer = h, interval = (int)ms, kResultOk; }
    tresult unregisterTimer(ITimerHandler*) override { return timer = nullptr, kResultOk; }
    // For `ms`, and on until the user's script is done.
    void Run(int ms, const XUser* user = nullptr) {
        const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(ms);
        while (std::chrono::steady_clock::now() < end || (user && !user->Done())) {
            pollfd watched{fd, POLLIN, 0};
            if (events && poll(&watched, 1, interval) > 0) events->onFDIsSet(fd);
            if (timer) timer->onTimer();
        }
    }
    IEventHandler* events = nullptr;
    ITimerHandler* timer = nullptr;
    int fd = -1, interval = 0;
    std::string resized;
};

// The view on the X server in a host window run by the stand-in loop: real
// clicks reach the host as gestures, the content scale and the Size menu
// resize through the frame, and a parent destroyed first ends nothing.
TEST_F(Vst3Plugin, EditorRunByTheHostsLoopClickedResizedAndOrphaned) {
    Display* display = XOpenDisplay(nullptr);
    SKIP_WITHOUT_X(display);
    EXPECT_EQ(plugin.controller->createView("other"), nullptr);
    IPlugView* view = plugin.controller->createView(kEditorViewType);
    ASSERT_NE(view, nullptr);
    const Window parent = XCreateSimpleWindow(display, DefaultRootWindow(display), 0, 0, 800, 360, 0, 0, 0);
    XMapWindow(display, parent);
    XSync(display, False);
    void* handle = reinterpret_cast<void*>(static_cast<uintptr_t>(parent));
    EXPECT_EQ(view->attached(handle, kPlatformTypeX11EmbedWindowID), kResultFalse) << "no run loop, no editor";
    Frame frame;
    view->setFrame(&frame);
    ASSERT_EQ(view->attached(handle, kPlatformTypeX11EmbedWindowID), kResultOk);
    EXPECT_TRUE(frame.fd >= 0 && frame.interval == 30) << "a handler on the X connection and the idle timer";
    ViewRect size{0, 0, 500, 300};
    EXPECT_EQ(view->onSize(&size), kResultFalse);
    EXPECT_EQ(view->checkSizeConstraint(&size), kResultTrue);
    EXPECT_EQ(Size(size), "800x360");
    IPlugView* second = plugin.controller->createView(kEditorViewType);
    second->setFrame(&frame);
    EXPECT_EQ(second->attached(handle, kPlatformTypeX11EmbedWindowID), kResultFalse) << "one editor per instance";
    second->release();
    frame.Run(300);

    // Tap 0's delay switch; the power switch (the bypass follows); Shift and
    // the power switch: the factory program again, all values changed.
    const struct { int x, y; bool shift; const char* heard; } clicks[] = {
        {79, 88, false, "B21 P21=0 E21"}, {37, 17, false, "B0 B62 P0=0 P62=1 E0 E62"},
        {37, 17, true, "B0 B62 P0=1 P62=0 E0 E62"}};
    XUser user;
    for (const auto& c : clicks) {
        plugin.handler = Handler();
        if (c.shift) user.Key(XK_Shift_L, true);
        user.Click(c.x, c.y);
        frame.Run(200);
        if (c.shift) user.Key(XK_Shift_L, false);
        EXPECT_EQ(plugin.handler.heard, c.heard);
        EXPECT_EQ(plugin.handler.restarts == kParamValuesChanged, c.shift) << c.heard;
    }
    EXPECT_EQ(plugin.controller->getParamNormalized(21), 1.0);

    // The host's content scale, then the Size menu's 200 %, which asks the frame.
    IPlugViewContentScaleSupport* scaling = nullptr;
    ASSERT_EQ(view->queryInterface(AsTuid(IPlugViewContentScaleSupport::iid), (void**)&scaling), kResultOk);
    EXPECT_EQ(scaling->setContentScaleFactor(1.5f), kResultOk);
    EXPECT_EQ(frame.resized, "1200x540");
    scaling->setContentScaleFactor(1.0f);
    scaling->release();
    EXPECT_EQ(frame.resized, "800x360");
    user.Start([](XUser& u) {
        u.Click(400, 40, 3);
        u.WaitForMenu();
        for (KeySym key : {XK_Down, XK_Down, XK_Down, XK_Return}) u.Key(key);
    });
    frame.Run(200, &user);
    EXPECT_EQ(frame.resized, "1600x720");

    // The host destroys its window before it removes the view.
    XDestroyWindow(display, parent);
    XSync(display, False);
    frame.Run(100);
    EXPECT_EQ(view->removed(), kResultOk);
    EXPECT_TRUE(!frame.events && !frame.timer);
    view->setFrame(nullptr);
    view->release();
    XCloseDisplay(display);
}

}  // namespace
