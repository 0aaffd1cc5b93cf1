-- Run by ardour_editor.sh through ardour7-lua: a session for the GUI with one
-- audio track carrying the plug-in under test first in its chain.
local hc = dofile(os.getenv("HC_ARDOUR_PRELUDE"))
hc.session(arg[1], "editor")
hc.track("Echo")
hc.save()
print("session " .. arg[1])
close_session()
