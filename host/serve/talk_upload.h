// Sound that a client sends to an output with one request, of any length.
//
// All on the main loop's thread.
#pragma once

#include <libsoup/soup.h>

#include <map>
#include <memory>

#include "host/serve/hub.h"

class TalkUploads {
  public:
    explicit TalkUploads(Hub& hub);
    // Ends all talks.
    ~TalkUploads();
    TalkUploads(const TalkUploads&) = delete;
    TalkUploads& operator=(const TalkUploads&) = delete;

    // Begins a request's talk, or refuses it, when its headers have come. Its body is read no
    // faster than it is played. A client that sends nothing for ten seconds is dropped.
    void begin(SoupServerMessage* message, int number);
    // Answers when the body has come.
    void end(SoupServerMessage* message);

  private:
    class Upload;

    Hub& hub_;
    std::map<SoupServerMessage*, std::unique_ptr<Upload>> uploads_;
};
