-- Run through ardour7-lua by check_installed.sh after Ardour's own plug-in
-- scan: every TapDelay Ardour lists, where it was found, whether it loads on
-- a track and whether its factory programs are there as presets. The session
-- is saved with them on its track.
local hc = dofile(os.getenv("HC_ARDOUR_PRELUDE"))
hc.session(arg[1], "installed")
local track = Session:new_audio_track(1, 2, nil, 1, "Echo", ARDOUR.PresentationInfo.max_order,
                                      ARDOUR.TrackMode.Normal, true):front()
local formats = {[ARDOUR.PluginType.LXVST] = "vst2", [ARDOUR.PluginType.VST3] = "vst3",
                 [ARDOUR.PluginType.LV2] = "lv2"}
for info in ARDOUR.LuaAPI.list_plugins():iter() do
  local format = formats[info.type]
  if format and info.name == "TapDelay" then
    local proc = ARDOUR.LuaAPI.new_plugin(Session, info.unique_id, info.type, "")
    local loaded = not proc:isnil() and track:add_processor_by_index(proc, 0, nil, true) == 0
    local preset = loaded and proc:to_insert():plugin(0):preset_by_label("Slapback")
    print(string.format("found %s %s loaded %s preset %s", format, info.path, tostring(loaded),
                        tostring(preset and preset.valid or false)))
  end
end
hc.save()
close_session()
