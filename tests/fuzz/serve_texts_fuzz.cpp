// The texts that the server reads itself: paths of RTSP and HTTP, changes, the headers of a
// request's origin, and the password file. The first byte of an input tells which.
#include <gio/gio.h>
#include <tinyxml.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <sstream>

#include "host/serve/change_request.h"
#include "host/serve/channel_names.h"
#include "host/serve/htdigest.h"
#include "host/serve/http_gate.h"
#include "host/serve/http_routes.h"
#include "host/serve/page.h"

// The page has no files here.
const PageFile* findPageFile(std::string_view /*path*/) { return nullptr; }

namespace {

constexpr char Separator = '\x1E';  // between the texts of one input

void expect(bool isTrue) {
    if (!isTrue)
        std::abort();
}

// Returns the next text. It ends at a zero byte, because GStreamer and libsoup give us C strings.
std::string takeText(std::string_view& input) {
    const size_t end = std::min(input.find(Separator), input.size());
    const std::string text(input.substr(0, end));
    input.remove_prefix(std::min(end + 1, input.size()));
    return text.c_str();
}

std::string escaped(const std::string& text) {
    const std::unique_ptr<gchar, decltype(&g_free)> coded(
        g_uri_escape_string(text.c_str(), nullptr, FALSE), g_free);
    return coded.get();
}

// A client finds the channel whose number or name it has written. A number comes before a name.
void readRtspPath(std::string_view input) {
    const std::string name = takeText(input);
    const std::vector<ChannelDescription> channels{{.number = 0, .name = "door"},
                                                   {.number = 1, .name = name, .isOutput = true},
                                                   {.number = 2, .name = name}};
    if (isGoodName(name)) {
        const NamingPath path = splitPath("/" + escaped(name) + "/stream=0/");
        expect(path.channel == name && path.rest == "/stream=0");
        const auto found = findNamed(channels, name, false);
        expect(found && found->number == (name == "0" || name == "door" ? 0 : 2));
    }
    const std::string urlPath = takeText(input);
    const NamingPath path = splitPath(urlPath);
    expect(path.rest.empty() || (path.rest.starts_with('/') && !path.rest.ends_with('/')));
    if (!path.channel)
        return;
    const NamingPath again = splitPath("/" + escaped(*path.channel) + path.rest);
    expect(again.channel == path.channel && again.rest == path.rest);
    for (const bool isOutput : {false, true}) {
        const auto found = findNamed(channels, *path.channel, isOutput);
        expect(!found || (found->isOutput == isOutput &&
                          (std::to_string(found->number) == path.channel ||
                           channels.at(static_cast<size_t>(found->number)).name == path.channel)));
    }
}

// The module reads the same name from the document as the client has sent.
void readChange(std::string_view input) {
    try {
        const ChannelChange change = parseChange(input);
        expect(change.name || change.enabled);
        if (!change.name || !isGoodName(*change.name))
            return;
        const std::string& name = *change.name;
        expect(name.size() <= 128 && g_utf8_validate(name.data(), gssize(name.size()), nullptr));
        expect(std::none_of(name.begin(), name.end(),
                            [](char c) { return g_ascii_iscntrl(c) != FALSE; }));
        TiXmlDocument document;
        document.Parse(changingDocument(7, change.name, change.enabled).c_str());
        const TiXmlElement* named = TiXmlHandle(document.RootElement())
                                        .FirstChild("Devices")
                                        .FirstChild("Device")
                                        .FirstChild("Audio")
                                        .FirstChild("Input")
                                        .ToElement();
        expect(!document.Error() && named != nullptr && name == named->Attribute("Name"));
    } catch (const ChangeError&) {
    }
}

// A channel's path has the channel's number, in one spelling only.
void readHttpPath(std::string_view path) {
    const auto route = findRoute(path);
    const std::string channel = "/api/channels/";
    if (route && path.starts_with(channel))
        expect(route->number >= 0 && path.starts_with(channel + std::to_string(route->number)) &&
               allowedMethods(route->resource) != nullptr);
}

bool isLoopback(const std::string& name) {
    GInetAddress* address = g_inet_address_new_from_string(name.c_str());
    const bool is = address != nullptr && g_inet_address_get_is_loopback(address) != FALSE;
    g_clear_object(&address);
    return is;
}

// GLib's own URI parser finds this machine in each host that was let in.
void readOrigin(std::string_view input) {
    const RequestOrigin request{takeText(input), takeText(input), takeText(input)};
    for (const bool isPage : {false, true}) {
        const bool isIn = checkOrigin(request, true, isPage).status == 0;
        expect(isIn || checkOrigin(request, false, isPage).status != 0);
        if (isIn && !isPage && !request.origin.empty())
            expect(request.origin.ends_with("://" + request.host));
        GUri* uri = g_uri_parse(("http://" + request.host).c_str(), G_URI_FLAGS_NONE, nullptr);
        if (uri != nullptr && checkOrigin(request, false, isPage).status == 0) {
            const std::string name = g_uri_get_host(uri);
            expect(name == "localhost" || name.ends_with(".localhost") || isLoopback(name));
        }
        g_clear_pointer(&uri, g_uri_unref);
    }
}

// Passwords that were read are written and read again the same. GStreamer, which reads the file
// itself and splits lines at the first two colons, finds the same.
void readPasswordFile(std::string_view input) {
    std::istringstream file{std::string(input)};
    const auto passwords = parseHtdigest(file);
    if (!passwords)
        return;
    const std::string text = htdigestOf(*passwords);
    std::istringstream written(text);
    const auto again = parseHtdigest(written);
    expect(again && again->realm == passwords->realm && again->hashes == passwords->hashes);
    std::istringstream lines{std::string(input)};
    for (std::string user, realm, hash; std::getline(lines, user, ':');) {
        expect(std::getline(lines, realm, ':') && std::getline(lines, hash));
        expect(isGoodUser(user) && realm == passwords->realm && passwords->hashes.contains(user) &&
               hash.size() == 32);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string_view input(reinterpret_cast<const char*>(data), size);
    const std::string_view rest = input.substr(std::min<size_t>(1, size));
    switch (size == 0 ? '\0' : input[0]) {
        case 'r':
            readRtspPath(rest);
            break;
        case 'c':
            readChange(rest);
            break;
        case 'h':
            readHttpPath(rest);
            break;
        case 'o':
            readOrigin(rest);
            break;
        case 'p':
            readPasswordFile(rest);
            break;
        default:
            break;
    }
    return 0;
}
