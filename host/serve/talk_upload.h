// Sound of any length that a client sends to an output in one request.
//
// All functions run on the main loop's thread.
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

    // Called when the request's headers have come. Begins its talk, or refuses it. The body is read
    // no faster than it is played. A client that sends nothing for ten seconds is dropped.
    void begin(SoupServerMessage* message, int number);
    // Called when the whole body has come. Answers the request.
    void end(SoupServerMessage* message);

  private:
    class Upload;

    Hub& hub_;
    std::map<SoupServerMessage*, std::unique_ptr<Upload>> uploads_;
};
