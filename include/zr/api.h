#pragma once
// Marks the few functions that libzrmixer.so exports; everything else in it is hidden.
#define ZR_API __attribute__((visibility("default")))
