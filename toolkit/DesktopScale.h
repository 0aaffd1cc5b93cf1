// How large a desktop wants things drawn: Xft.dpi from the resource
// database (96 dpi is 1), else the GDK_SCALE variable.
#pragma once

// resources: the database's text; gdkScale: the variable's value. Either may
// be null. 0 when neither gives a usable factor.
double DesktopScaleOf(const char* resources, const char* gdkScale);
