#pragma once

/// The light and the dark palette that can be asked for; without one the window follows the system. Thread: the main thread,
/// before the first window.
enum class Theme { System, Light, Dark };

void applyTheme(Theme theme);
