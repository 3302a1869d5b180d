// Owners of what the C libraries of the desktop hand out.
#pragma once

#include <memory>

#include <gtk/gtk.h>

template <auto release>
struct Releaser {
    template <typename T>
    void operator()(T* owned) const {
        release(owned);
    }
};

// Owns one reference to a GObject.
template <typename T>
using ObjectOwner = std::unique_ptr<T, Releaser<g_object_unref>>;

// Owns a text that GLib has allocated.
using TextOwner = std::unique_ptr<char, Releaser<g_free>>;
