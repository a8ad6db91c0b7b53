// The hub's state as server-sent events: "state" when something has changed, "levels" a few times a
// second, "log" for each line.
//
// All on the main loop's thread.
#pragma once

#include <glib.h>

#include <memory>
#include <string>
#include <vector>

#include "host/serve/client_stream.h"
#include "host/serve/hub.h"

class Events {
  public:
    static constexpr size_t MostWaiting = size_t{256} * 1024;  // bytes, then the client is dropped
    static constexpr size_t MostClients = 32;

    explicit Events(Hub& hub);
    ~Events();
    Events(const Events&) = delete;
    Events& operator=(const Events&) = delete;

    size_t clients() const { return clients_.size(); }
    // Sends the client what there is and what comes, until it leaves.
    void add(const std::shared_ptr<ClientStream>& client);

  private:
    void look();
    void sendAll(const std::string& text);

    Hub& hub_;
    // Outlives this in what was posted already.
    const std::shared_ptr<bool> hasChanged_ = std::make_shared<bool>(true);
    const std::shared_ptr<Events*> self_ = std::make_shared<Events*>(this);
    std::unique_ptr<Observing> observing_;
    std::vector<std::shared_ptr<ClientStream>> clients_;
    uint64_t lastLine_ = 0;
    std::string lastLevels_;
    std::string lastWords_;
    guint timer_ = 0;
};
