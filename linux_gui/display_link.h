// Which display server the program talks to, and how it ends when there is none.
#pragma once

// Chooses X11 where the desktop offers it beside Wayland: there a box may ask for no focus, stay
// above other windows and stand in the middle, which a program cannot ask for natively on Wayland.
// GDK_BACKEND in the environment still decides. To be called before GTK starts.
void prefer_x11();

// Has the process end with status 1 and one line, the same on standard error and in the log, where
// GTK ends it for want of a display: there is none at the start, or a Wayland compositor goes. To
// be called before GTK starts.
void end_clearly_without_display();

// The same for an X server that goes. To be called on the main thread once GTK has its display.
void end_clearly_without_x_server();
