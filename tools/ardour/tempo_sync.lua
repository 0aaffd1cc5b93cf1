-- Run by check_tempo_sync.sh through ardour7-lua: a fresh session at the given
-- tempo with TapDelay on an audio track and one of its 8th-note programs
-- chosen as an Ardour preset. After the transport has rolled a while, the six
-- tap times the plug-in reports must be 1 to 6 eighth notes of that tempo.
local dir, preset, bpm = arg[1], arg[2], tonumber(arg[3])

AudioEngine:set_backend("None (Dummy)", "", "")
assert(create_session(dir, "tempo_sync", 48000), "cannot create the session")

local map = Temporal.TempoMap.fetch_writable()
map:set_tempo(Temporal.Tempo(bpm, bpm, 4), Temporal.timepos_t(0))
Temporal.TempoMap.update(map)

local track = Session:new_audio_track(1, 2, nil, 1, "Echo", ARDOUR.PresentationInfo.max_order,
                                      ARDOUR.TrackMode.Normal, true):front()
local proc = ARDOUR.LuaAPI.new_plugin(Session, "TapDelay", ARDOUR.PluginType.LXVST, "")
assert(not proc:isnil(), "Ardour does not know TapDelay")
assert(track:add_processor_by_index(proc, 0, nil, true) == 0, "cannot add TapDelay")
local plugin = proc:to_insert():plugin(0)
local program = plugin:preset_by_label(preset)
assert(program and program.valid, "no program " .. preset)
assert(plugin:load_preset(program), "cannot select " .. preset)

local function taps()
  local times = {}
  for tap = 0, 5 do
    times[#times + 1] = string.format("%.1f", ARDOUR.LuaAPI.get_processor_param(proc, 3 + tap, true) * 4000)
  end
  return table.concat(times, " ")
end

print(string.format("tempo    %g BPM (Ardour's tempo map: %g)", bpm,
                    Temporal.TempoMap.read():quarters_per_minute_at(Temporal.timepos_t(0))))
print("stored   " .. taps() .. " ms")
Session:request_roll(ARDOUR.TransportRequestSource.TRS_UI)
sleep(3)
local heard = taps()
print("followed " .. heard .. " ms after " .. Session:transport_sample() .. " samples")

local expected = {}
for k = 1, 6 do expected[k] = string.format("%.1f", k * 30000 / bpm) end
expected = table.concat(expected, " ")
print((heard == expected and "PASS" or "FAIL") .. "     expected " .. expected .. " ms")
close_session()
