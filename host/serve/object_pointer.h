// Owns a reference to a GObject.
#pragma once

#include <glib-object.h>

#include <memory>

struct ObjectUnref {
    void operator()(gpointer object) const { g_object_unref(object); }
};
template <typename Object>
using ObjectPointer = std::unique_ptr<Object, ObjectUnref>;
