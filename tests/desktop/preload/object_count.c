/* For LD_PRELOAD: counts the GObjects that live, in the 8 bytes of the file $ZOR_OBJECT_COUNT. Counted
 * is what GTK, GIO and the program make through g_object_new and its like. */
#define _GNU_SOURCE
#include <dlfcn.h>
#include <fcntl.h>
#include <stdarg.h>
#include <stdatomic.h>
#include <stdlib.h>
#include <sys/mman.h>
#include <unistd.h>

#include <glib-object.h>

static atomic_llong *counter(void) {
    static _Atomic(atomic_llong *) known;
    atomic_llong *shared = atomic_load(&known);
    if (shared == NULL) {
        const int handle = open(getenv("ZOR_OBJECT_COUNT"), O_RDWR | O_CLOEXEC);
        shared = mmap(NULL, sizeof *shared, PROT_READ | PROT_WRITE, MAP_SHARED, handle, 0);
        close(handle);
        if (shared == MAP_FAILED) {
            abort();
        }
        atomic_store(&known, shared);
    }
    return shared;
}

static void forget(gpointer unused, GObject *object) {
    (void)unused;
    (void)object;
    atomic_fetch_sub(counter(), 1);
}

/* A singleton may be given out again: each object has its mark once. */
static gpointer counted(gpointer object) {
    static const char *const mark = "zor-object-count";
    if (object != NULL && g_object_get_data(object, mark) == NULL) {
        g_object_set_data(object, mark, object);
        g_object_weak_ref(object, forget, NULL);
        atomic_fetch_add(counter(), 1);
    }
    return object;
}

GObject *g_object_new_valist(GType type, const gchar *first, va_list arguments) {
    GObject *(*const real)(GType, const gchar *, va_list) =
        (GObject * (*)(GType, const gchar *, va_list)) dlsym(RTLD_NEXT, "g_object_new_valist");
    return counted(real(type, first, arguments));
}

gpointer(g_object_new)(GType type, const gchar *first, ...) {
    va_list arguments;
    va_start(arguments, first);
    GObject *const object = g_object_new_valist(type, first, arguments);
    va_end(arguments);
    return object;
}

GObject *g_object_new_with_properties(GType type, guint count, const char *names[],
                                      const GValue values[]) {
    GObject *(*const real)(GType, guint, const char **, const GValue *) =
        (GObject * (*)(GType, guint, const char **, const GValue *))
            dlsym(RTLD_NEXT, "g_object_new_with_properties");
    return counted(real(type, count, names, values));
}
