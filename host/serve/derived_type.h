// Makes GObject classes that override functions of their base class.
#pragma once

#include <glib-object.h>

// Registers a class whose objects have no more data than those of `parent`. `init` gets the class
// structure, and sets the functions that differ. Called once for each name.
inline GType derivedType(GType parent, const char* name, GClassInitFunc init) {
    GTypeQuery query;
    g_type_query(parent, &query);
    return g_type_register_static_simple(parent, name, query.class_size, init, query.instance_size,
                                         nullptr, GTypeFlags{});
}
