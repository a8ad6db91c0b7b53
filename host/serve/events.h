// The hub's state as server-sent events: "state" when something has changed, "levels" when a
// level or count has changed (at most five times a second), "log" for each line.
//
// All functions run on the main loop's thread.
#pragma once

#include <glib.h>

#include <memory>
#include <string>
#include <vector>

#include "host/serve/client_stream.h"
#include "host/serve/hub.h"

class Events {
  public:
    static constexpr size_t MostWaiting = size_t{256} * 1024;  // bytes, see ClientStream
    static constexpr size_t MostClients = 32;

    explicit Events(Hub& hub);
    ~Events();
    Events(const Events&) = delete;
    Events& operator=(const Events&) = delete;

    size_t clients() const { return clients_.size(); }
    // Sends the client the state and the kept log lines, and then all changes until it leaves.
    void add(const std::shared_ptr<ClientStream>& client);

  private:
    void sendChanges();
    void sendAll(const std::string& text);

    Hub& hub_;
    // Shared, because posted work may run after this object is destroyed.
    const std::shared_ptr<bool> hasChanged_ = std::make_shared<bool>(true);
    const std::shared_ptr<Events*> self_ = std::make_shared<Events*>(this);
    std::unique_ptr<Observing> observing_;
    std::vector<std::shared_ptr<ClientStream>> clients_;
    uint64_t lastLine_ = 0;
    std::string lastLevels_;
    std::string lastStateWords_;
    guint timer_ = 0;
};
