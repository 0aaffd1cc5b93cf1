// The folder that holds the plug-in's resources (strings.txt, the bitmaps).
#pragma once

// The folder, ending in "/", of the loaded module that contains the toolkit
// code (TapDelay.so inside a host, the test program in unit tests), unless
// AfxSetResourceFolder chose another. Empty when it cannot be found.
// The text stays valid until the next AfxSetResourceFolder.
const char* AfxGetResourceFolder();

// Overrides the folder for tests and hosts; a "/" is appended when missing.
// Null or an empty text returns to the module's own folder.
void AfxSetResourceFolder(const char* folder);
