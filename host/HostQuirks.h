// What real hosts do where it differs from what the plug-in interfaces (VST
// 2.4, VST 3, LV2, CLAP) document, and what TapDelay does about it.
// Host-specific handling lives here (or is named here); the effect asks these
// functions instead of reading a host's raw answer itself.
//
// | Case                          | Known hosts              | What the host does                                      | What we do                                              |
// |-------------------------------|--------------------------|---------------------------------------------------------|---------------------------------------------------------|
// | Tempo in the wrong scale      | Ardour 7 (Debian 12:     | answers audioMasterTempoAt with BPM x 1000, not         | HostTempo: only the tempo of audioMasterGetTime asked   |
// |                               | 7.3)                     | x 10000: 120 BPM reads as 12 BPM                        | with kVstTempoValid; TempoAt is never asked             |
// | No tempo answer               | hosts that dropped the   | answer 0 to audioMasterTempoAt (deprecated in 2.4)      | nothing to do: TempoAt is never asked                   |
// |                               | deprecated opcodes       |                                                         |                                                         |
// | Time info without the tempo   | minimal hosts, some      | audioMasterGetTime answers null, or a record without    | no tempo: the tap times stay as they are. TempoAt is a  |
// |                               | bridges                  | kVstTempoValid, or with a tempo of 0                    | host call from the audio thread hosts may serve with a  |
// |                               |                          |                                                         | lock, so it is not a fallback                           |
// | No directory answer           | Ardour, most Linux hosts | audioMasterGetDirectory answers 0 (others give the      | PluginFolder: the folder of the loaded library          |
// |                               |                          | plug-in file's path rather than its folder)             | (dladdr); a file path is cut back to its folder         |
// | Plug-in reached through a     | every host scanning a    | loads a symbolic link (a lone TapDelay.so linked into   | PluginFolder follows the link (realpath) when the host  |
// | symbolic link                 | folder such as ~/.vst    | ~/.vst) and, if it answers audioMasterGetDirectory,     | names no folder or the link's own folder: the resources |
// |                               |                          | names the link's folder, where no resources lie         | and factory bank lie beside the real file               |
// | Blocks longer than announced  | hosts that change the    | process more frames than the last effSetBlockSize, or   | WorkBlockSize caps and defaults the taps' work buffers; |
// |                               | period without telling   | announce 0                                              | the effect processes longer blocks in slices            |
// | Keys kept by the host         | Ardour 7 (never sends    | gives the plug-in window no keys and never calls        | the entry field takes the X keyboard focus while shown  |
// |                               | effEditKeyDown)          | effEditKeyDown; other hosts forward keys that way       | and hands it back when hidden; forwarded keys reach it  |
// |                               |                          |                                                         | too (CDelayEditor::onKeyDown), others are answered 0    |
// | Editor hidden, not closed     | Ardour 7                 | a second double click unmaps the plug-in window instead | nothing: the editor stays open and idled; effEditClose  |
// |                               |                          | of sending effEditClose; it is closed with the plug-in  | comes when the plug-in is removed or the host quits     |
// | Editor calls on a host thread | hosts with a GUI thread  | send effEditOpen / effEditIdle / effEditClose from a    | every X call happens on the thread that opens and idles |
// |                               | of their own (Ardour 7   | thread other than the one that loaded the plug-in       | the editor (Xlib made thread-aware first); the effect   |
// |                               | idles from its LXVST     |                                                         | only records changes for it (ChangeRecord)              |
// |                               | event-loop thread)       |                                                         |                                                         |
// | effEditIdle re-entered        | Ardour (synchronously,   | calls effEditIdle from inside our own                   | CDelayEditor::idle guards re-entry                      |
// |                               | on the calling thread)   | audioMasterUpdateDisplay and audioMasterIdle calls      |                                                         |
// | Host window gone before close | hosts that tear down the | destroy the window given to effEditOpen (and so our     | the toolkit's X error handler takes our connection's    |
// |                               | plug-in window first     | editor inside it) before sending effEditClose           | BadWindow errors and never ends the process; close then |
// |                               |                          |                                                         | only frees what is left (toolkit/x11/X11ErrorRouting.h) |
// | Host data in AEffect          | hosts that keep their    | write their own pointers into AEffect's resvd1 / resvd2 | nothing reads or writes the reserved fields; the effect |
// |                               | wrapper there            |                                                         | is found through AEffect::object only                   |
// | Switch flag on a selector     | Ardour 7                 | shows a parameter flagged kVstParameterIsSwitch as an   | the switch flag only on the two-state parameters; the   |
// |                               |                          | on/off toggle even with an integer range of 0..3, so    | selectors (FilterType0-5, SyncNote) announce a float    |
// |                               |                          | its controls sent SyncNote only 0 or 1 ("Quarter",      | step of 1/2 or 1/3 instead, from which Ardour makes a   |
// |                               |                          | "32th") and a filter type only "L-SH" or "PK"           | stepped control reaching every value                    |
// | Integer ranges taken          | Qtractor (Debian 12:     | honours kVstParameterUsesIntegerMinMax literally: on    | no integer minimum, maximum or step for any parameter   |
// | literally                     | 0.9.31)                  | every session load it sends setParameter the value in   | (our values are normalised 0..1, never the integer);    |
// |                               |                          | minInteger..maxInteger after the chunk (a cutoff as     | vsthost validate sets every parameter the way such a    |
// |                               |                          | 20.0, a gain as 0.0), and a switch-flagged selector as  | host would and requires an unchanged state;             |
// |                               |                          | 0 or 1                                                  | tools/qtractor/check_session.sh checks it in Qtractor   |
// | Editor switches after a host  | every host (programs,    | changes TempoSync through setParameter, a program or a  | every switch, TempoSync included, shows the integer     |
// | or program change             | automation, chunks)      | chunk while the editor is open                          | part of the effect's value at the next idle             |
// | Content scale for HiDPI       | hosts that scale VST 2   | send effVendorSpecific 'PreS' / 'AeCs' with the factor  | the factor sizes the editor (nearest of 1, 1.5, 2),     |
// |                               | editors; LV2 hosts with  | in opt, or ui:scaleFactor; most Linux hosts send none   | answered 1; without it the user's Size menu choice, the |
// |                               | ui:scaleFactor           |                                                         | desktop's Xft.dpi or GDK_SCALE decide; a size picked in |
// |                               |                          |                                                         | the menu asks audioMasterSizeWindow (ui:resize)         |
// | Keys never forwarded          | Qtractor, MusE           | never call effEditKeyDown                               | as for Ardour: the entry field takes the X keyboard     |
// |                               |                          |                                                         | focus while it is shown                                 |
// | Values restated after a CLAP  | Qtractor (Debian 12:     | keeps each value beside the state as text with six      | in the first values after a state load, one that reads  |
// | state                         | 0.9.31)                  | digits and sets them after the state when it loads a    | the same in six digits as the loaded one is taken as it |
// |                               |                          | preset (on a session load its flush at activation drops | (formats/clap): the bank stays exact                    |
// |                               |                          | them)                                                   |                                                         |
// | Empty CLAP gesture            | Qtractor 0.9.31          | sets the parameter to 0 at the end of a gesture that    | a gesture's begin goes out with its first value: a      |
// |                               |                          | carried no value                                        | click that changes nothing sends nothing                |
// | CLAP timers at one period     | Qtractor 0.9.31          | runs every plug-in timer on one shared timer, restarted | X input still comes at once through the fd support; the |
// |                               |                          | at 200 ms once an editor opens                          | meters and the host's changes show 5 times a second     |
// | A CLAP transport tempo of 0   | Qtractor 0.9.31 (the     | flags a tempo in the transport, and the tempo is 0      | no tempo (EffectHost::SetTempo): the tap times stay as  |
// |                               | block it runs on         |                                                         | they are                                                |
// |                               | loading)                 |                                                         |                                                         |
// | Tempo sync lost over a        | Ardour 7 (VST 3),        | restores a session from the plug-in's state alone, and  | the state VST 3 and CLAP hosts keep holds the values as |
// | session reload                | Qtractor (CLAP)          | the effect leaves host changes to TempoSync and         | they play in the current program's record               |
// |                               |                          | SyncNote out of its program record                      | (BankState::Save)                                       |
// | VST 3: controller initialised | Ardour 7 (7.3)           | asks the component for its controller (one object) and  | counted: the effect is made once; the last terminate    |
// | twice                         |                          | calls initialize and terminate on both                  | lets go of the host's handler                           |
// | VST 3: program sent inside a  | Ardour 7                 | holds its process lock while it sends a program to the  | the program loads there on the UI thread and its values |
// | host lock                     |                          | controller (setParamNormalized), and takes the same     | reach the host as output changes; restartComponent only |
// |                               |                          | lock in restartComponent                                | from the editor's idle, never inside a host call        |
// | VST 3: plain values in the    | Ardour 7                 | saves every parameter's plain value and sends it to the | plain values are the normalised ones (steps for stepped |
// | session                       |                          | processor after it loaded the state                     | parameters): exact both ways                            |
// | VST 3: the effect's own       | Ardour 7                 | takes the last point of each output parameter queue     | looks for them every 2048 frames (tempo sync, the       |
// | changes                       |                          | into its controls and its saved session; re-reads all   | editor) and reports them; the power switch and the      |
// |                               |                          | values on kParamValuesChanged                           | bypass as both                                          |
// | VST 3: resize answered by     | Ardour 7                 | calls onSize inside resizeView and returns its answer;  | fixed size at each scale: canResize false, onSize true  |
// | onSize                        |                          | sizes its window from resizeView when canResize is      | for that size; the Size menu or the desktop pick the    |
// |                               |                          | false; never sends a content scale                      | scale                                                   |
// | VST 3: a view made to ask     | Ardour 7                 | creates a view only to ask isPlatformTypeSupported and  | a view is cheap until attached; a second view attached  |
// |                               |                          | releases it unattached                                  | while one shows the editor stays empty                  |
// | VST 3: processor switched off | Ardour 7                 | switching the plug-in off in the mixer leaves its       | nothing: the bypass is Ardour's control "Bypass" of the |
// |                               |                          | bypass parameter alone                                  | plug-in                                                 |
#pragma once

#include <string>

#include "host/VstAbi.h"

class AudioEffectX;

namespace HostQuirks {

// What the effect asks audioMasterGetTime for: only the tempo.
constexpr VstInt32 kTimeInfoRequest = kVstTempoValid;

// The host tempo in beats per minute: from the time info when the host gives
// one that carries kVstTempoValid and a tempo above 0, else 0. Held as float,
// as the tap times are.
float HostTempo(AudioEffectX& effect);

// The tempo a time-info record carries, or 0 when it carries none.
float TempoFromTimeInfo(const VstTimeInfo* info);

// The folder (ending in '/') that holds the plug-in, from the host's
// audioMasterGetDirectory answer (null, a folder, or the plug-in file), else
// the folder of the loaded library; a library loaded through a symbolic link
// gives the folder of the link's target.
std::string PluginFolder(const void* directoryAnswer);

// Work buffers are never made longer than this; longer blocks are sliced.
constexpr int kMaxWorkBlock = 8192;
// Frames per work buffer for an effSetBlockSize value.
int WorkBlockSize(VstInt32 announced);

}  // namespace HostQuirks
