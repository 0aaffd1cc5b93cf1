-- Run through ardour7-lua by check_tempo_sync.sh for every format it checks:
-- a fresh session at the given tempo with the plug-in under test on an audio
-- track and one of its 8th-note programs chosen as an Ardour preset. The
-- transport rolls a while, then the session is saved. Prints the six tap
-- times the plug-in reports before and after, and what 1 to 6 eighth notes
-- of the tempo make.
local hc = dofile(os.getenv("HC_ARDOUR_PRELUDE"))
local dir, preset, bpm = arg[1], arg[2], tonumber(arg[3])
hc.session(dir, "tempo_sync")
hc.tempo(bpm)
local _, proc, plugin = hc.track("Echo")
hc.preset(plugin, preset)

local function taps()
  local times = {}
  for tap = 0, 5 do
    times[#times + 1] = string.format("%.1f", ARDOUR.LuaAPI.get_processor_param(proc, 3 + tap, true) * 4000)
  end
  return table.concat(times, " ")
end
print(string.format("tempo    %g BPM (Ardour's tempo map: %g), preset %s", bpm,
                    Temporal.TempoMap.read():quarters_per_minute_at(Temporal.timepos_t(0)), preset))
print("stored   " .. taps() .. " ms")
local rolled = hc.roll(3)
print("followed " .. taps() .. " ms after " .. rolled .. " samples")
local expected = {}
for k = 1, 6 do expected[k] = string.format("%.1f", k * 30000 / bpm) end
print("expected " .. table.concat(expected, " ") .. " ms")
hc.save()
close_session()
