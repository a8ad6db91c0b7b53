// C++ objects that GLib owns as data of its callbacks and objects.
#pragma once

#include <glib-object.h>

#include <memory>
#include <utility>

template <typename Object>
gpointer ownedData(Object object) {
    return std::make_unique<Object>(std::move(object)).release();
}

template <typename Object>
void freeData(gpointer data) {
    const std::unique_ptr<Object> ended(static_cast<Object*>(data));
}

// Connects a handler whose last argument points to the object, which lives until the handler is
// disconnected.
template <typename Object, typename Handler>
void connectOwning(gpointer sender, const char* signal, Handler handler, Object object) {
    g_signal_connect_data(
        sender, signal, G_CALLBACK(handler), ownedData(std::move(object)),
        [](gpointer data, GClosure*) { freeData<Object>(data); }, GConnectFlags{});
}
