// The editor's three sizes and which one it takes: the host's word first,
// then the user's choice, then the desktop's, else 100 %.
#pragma once

// 1, 1.5 or 2, whichever is nearest to factor; 0 for a factor that says
// nothing (zero, negative, not a number).
float NearestEditorScale(double factor);

struct EditorScaleSources {
    float host = 0.0f;     // effVendorSpecific 'PreS' or an LV2 host's scale factor
    float user = 0.0f;     // the "Size" menu; 0 follows the desktop
    float desktop = 0.0f;  // Xft.dpi or GDK_SCALE

    // The first source that says something, as one of the three sizes.
    float Choose() const;
};

// The user's choice as saved in the Preferences folder (0: follow the
// desktop, also when nothing was saved). Saving 0 forgets the choice.
float LoadEditorScaleChoice(const char* preferencesFolder);
bool SaveEditorScaleChoice(const char* preferencesFolder, float scale);
