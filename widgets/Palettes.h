#pragma once
// Palette presets shared by the display's panels. Each call returns a fresh palette
// (a copy of the application palette) with a solid Window colour.

#include <QBrush>
#include <QPalette>

// Light panel background (245, 245, 225) in every colour group.
QPalette LightPalette();

// The light colour of a selected row (230, 230, 211), active colour group only.
QPalette ActiveLightPalette();

// Bright green (31, 242, 83) in every colour group.
QPalette GreenPalette();

// Horizontal blue-to-white gradient over the first 400 pixels.
QBrush GradientBrush();
