-- Run by ardour_editor.sh through ardour7-lua: a session for the GUI with one
-- audio track carrying TapDelay's LV2 bundle first in its chain.
local dir = arg[1]
AudioEngine:set_backend("None (Dummy)", "", "")
assert(create_session(dir, "editor", 48000), "cannot create the session")
local track = Session:new_audio_track(1, 2, nil, 1, "Echo", ARDOUR.PresentationInfo.max_order,
                                      ARDOUR.TrackMode.Normal, true):front()
local proc = ARDOUR.LuaAPI.new_plugin(Session, "urn:tapdelay:lv2:TapDelay", ARDOUR.PluginType.LV2, "")
assert(not proc:isnil(), "Ardour does not know TapDelay's LV2 bundle")
assert(track:add_processor_by_index(proc, 0, nil, true) == 0, "cannot add TapDelay")
Session:save_state("", false, false, false, false, false)
print("session " .. dir)
close_session()
