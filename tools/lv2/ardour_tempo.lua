-- Run by ardour_tempo.sh through ardour7-lua: a fresh session at the given
-- tempo with TapDelay's LV2 bundle on an audio track and one of its 8th-note
-- presets loaded. The transport rolls a while (Ardour sends time:Position),
-- then the session is saved: the plug-in's state holds the followed taps.
local dir, preset, bpm = arg[1], arg[2], tonumber(arg[3])

AudioEngine:set_backend("None (Dummy)", "", "")
assert(create_session(dir, "lv2_tempo", 48000), "cannot create the session")

local map = Temporal.TempoMap.fetch_writable()
map:set_tempo(Temporal.Tempo(bpm, bpm, 4), Temporal.timepos_t(0))
Temporal.TempoMap.update(map)

local track = Session:new_audio_track(1, 2, nil, 1, "Echo", ARDOUR.PresentationInfo.max_order,
                                      ARDOUR.TrackMode.Normal, true):front()
local proc = ARDOUR.LuaAPI.new_plugin(Session, "urn:tapdelay:lv2:TapDelay", ARDOUR.PluginType.LV2, "")
assert(not proc:isnil(), "Ardour does not know TapDelay's LV2 bundle")
assert(track:add_processor_by_index(proc, 0, nil, true) == 0, "cannot add TapDelay")
local plugin = proc:to_insert():plugin(0)
local program = plugin:preset_by_label(preset)
assert(program and program.valid, "no preset " .. preset)
assert(plugin:load_preset(program), "cannot load " .. preset)
print("preset   " .. preset .. ", tempo " .. bpm .. " BPM")

Session:request_roll(ARDOUR.TransportRequestSource.TRS_UI)
sleep(3)
print("rolled   " .. Session:transport_sample() .. " samples")
Session:request_stop(false, false, ARDOUR.TransportRequestSource.TRS_UI)
sleep(1)
Session:save_state("", false, false, false, false, false)
close_session()
