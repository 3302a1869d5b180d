// The room that a desktop leaves for windows.
#pragma once

// In pixels of a program, which the desktop may enlarge.
struct RoomForWindow {
    int width;
    int height;
};

// What a window may take so that it is whole on whichever monitor the desktop puts it: the
// monitor's area without panels and docks; of several, the smallest width and the smallest height.
// Without a monitor, that of the screen. On the GTK main thread.
RoomForWindow get_room_for_window();
