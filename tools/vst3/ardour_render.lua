-- Run by ardour_render.sh through ardour7-lua: records a few seconds of the
-- dummy backend's noise on a mono track, then puts the plug-in under test
-- (fresh, so its delay lines hold nothing of the live input) with a preset
-- on that track and exports the session's master from the recording's start
-- to TAIL seconds after its end, as 32-bit float WAV (preset uuid given).
-- Prints the recording's path and the exported frames.
--   ardour7-lua ardour_render.lua DIR PRESET TAIL EXPORT-PRESET-UUID OUT-FOLDER
local hc = dofile(os.getenv("HC_ARDOUR_PRELUDE"))
local dir, preset, tail, export_preset, folder = arg[1], arg[2], tonumber(arg[3]), arg[4], arg[5]
hc.session(dir, "render", "Gaussian White Noise")
local tracks = Session:new_audio_track(1, 2, nil, 1, "Echo", ARDOUR.PresentationInfo.max_order,
                                       ARDOUR.TrackMode.Normal, true)
local track = tracks:front()
track:rec_enable_control():set_value(1, PBD.GroupControlDisposition.NoGroup)
Session:maybe_enable_record(false)
hc.roll(4)
track:rec_enable_control():set_value(0, PBD.GroupControlDisposition.NoGroup)
local region = nil
for r in track:playlist():region_list():iter() do region = r end
assert(region, "nothing was recorded")
-- Ardour's short default fades at a region's ends would change what it plays.
region:to_audioregion():set_fade_in_active(false)
region:to_audioregion():set_fade_out_active(false)
local recording = region:source(0):to_filesource():path()
print("recorded " .. recording)

-- The plug-in after the recording; the track plays from disk from now on.
track:monitoring_control():set_value(ARDOUR.MonitorChoice.MonitorDisk, PBD.GroupControlDisposition.NoGroup)
local proc = ARDOUR.LuaAPI.new_plugin(Session, os.getenv("HC_NAME"), ARDOUR.PluginType[os.getenv("HC_ARDOUR_TYPE")], "")
assert(not proc:isnil(), "Ardour does not know the plug-in")
assert(track:add_processor_by_index(proc, 0, nil, true) == 0, "cannot add the plug-in")
if preset ~= "" then hc.preset(proc:to_insert():plugin(0), preset) end
sleep(1)

local start = region:position():samples()
local stop = start + region:length():samples() + math.floor(tail * Session:nominal_sample_rate())
local export = Session:simple_export()
assert(export:set_preset(export_preset), "no export preset " .. export_preset)
export:set_name("rendered")
export:set_folder(folder)
export:set_range(start, stop)
assert(export:run_export(), "the export failed")
print(string.format("exported %d frames from %d", stop - start, start))
hc.save()
close_session()
