#pragma once

/// The light and the dark palette that the user can select. Without a selection the window follows the system. Thread: the main
/// thread, before the first window.
enum class Theme { System, Light, Dark };

void applyTheme(Theme theme);
