#include "config/xml_bounds.h"

#include <strings.h>

#include <cstring>
#include <string_view>
#include <vector>

namespace {

// Follows the parser through a text, byte by byte where it goes byte by byte, and gives up where it
// does. Every step answers false when the parser stops there for good.
class Scanner {
  public:
    Scanner(const char* text, const XmlBounds& bounds)
        : at_(text), bounds_(bounds), open_(bounds.levels) {}

    // Where the first element that goes too far begins, null when none does.
    const char* findExcess() {
        while (skipSpace() && node()) {
        }
        return excess_;
    }

  private:
    bool node() {
        if (*at_ != '<')
            return depth_ > 0 && text();
        if (depth_ > 0 && at_[1] == '/')
            return endTag();
        if (strncasecmp(at_, "<?xml", 5) == 0)
            return declaration();
        if (startsWith("<!--"))
            return skipPast("-->", 4);
        if (startsWith("<![CDATA["))
            return skipPast("]]>", 9) && *at_ != '\0';
        if (!isNameStart(at_[1]))
            return skipPast(">", 1);
        return startTag();
    }

    bool text() {
        while (*at_ != '\0' && *at_ != '<')
            if (!character())
                return false;
        return *at_ != '\0' && at_[1] != '\0';
    }

    bool declaration() {
        at_ += 5;
        while (*at_ != '>') {
            if (!skipSpace())
                return false;
            const bool isKnown = strncasecmp(at_, "version", 7) == 0 ||
                                 strncasecmp(at_, "encoding", 8) == 0 ||
                                 strncasecmp(at_, "standalone", 10) == 0;
            if (isKnown && !attribute())
                return false;
            while (!isKnown && *at_ != '\0' && *at_ != '>' && !isSpace(*at_))
                ++at_;
            if (*at_ == '\0')
                return false;
        }
        ++at_;
        return true;
    }

    bool startTag() {
        const char* start = at_++;
        if (depth_ == bounds_.levels)
            return exceededAt(start);
        if (!skipSpace())
            return false;
        const char* name = at_;
        if (!skipName())
            return false;
        open_[depth_] = {name, static_cast<size_t>(at_ - name)};
        for (size_t attributes = 0; skipSpace(); ++attributes) {
            if (*at_ == '/') {
                at_ += 2;
                return at_[-1] == '>';
            }
            if (*at_ == '>') {
                ++at_;
                ++depth_;
                return true;
            }
            if (attributes == bounds_.attributes)
                return exceededAt(start);
            if (!attribute() || *at_ == '\0')
                return false;
        }
        return false;
    }

    // The parser compares the name's beginning only, and wants a ">" right behind.
    bool endTag() {
        const std::string_view name = open_[--depth_];
        at_ += 2;
        if (std::strncmp(at_, name.data(), name.size()) != 0)
            return false;
        at_ += name.size();
        return skipSpace() && *at_++ == '>';
    }

    bool attribute() {
        if (!skipName() || !skipSpace() || *at_++ != '=' || !skipSpace())
            return false;
        if (*at_ == '"' || *at_ == '\'') {
            const char quote = *at_++;
            while (*at_ != quote)
                if (*at_ == '\0' || !character())
                    return false;
            return *++at_ != '\0';
        }
        for (; *at_ != '\0' && !isSpace(*at_) && *at_ != '/' && *at_ != '>'; ++at_)
            if (*at_ == '"' || *at_ == '\'')
                return false;
        return true;
    }

    // One byte of a text or quoted value, or an entity. No byte of a longer character means
    // anything to the parser.
    bool character() {
        if (*at_ == '&' && at_[1] == '#' && at_[2] != '\0')
            return numericEntity();
        ++at_;
        return true;
    }

    // The parser looks for the next ";" and reads the digits before it backwards up to the nearest
    // "x" or "#", whatever stands before that.
    bool numericEntity() {
        const bool isHex = at_[2] == 'x';
        const char* end = std::strchr(at_ + (isHex ? 3 : 2), ';');
        if (end == nullptr)
            return false;
        for (const char* digit = end - 1; *digit != (isHex ? 'x' : '#'); --digit)
            if (isHex ? !isHexDigit(*digit) : *digit < '0' || *digit > '9')
                return false;
        at_ = end + 1;
        return true;
    }

    // False at the end of the text.
    bool skipSpace() {
        while (isSpace(*at_) || startsWith("\xEF\xBB\xBF") || startsWith("\xEF\xBF\xBE") ||
               startsWith("\xEF\xBF\xBF"))
            at_ += isSpace(*at_) ? 1 : 3;
        return *at_ != '\0';
    }

    bool skipName() {
        if (!isNameStart(*at_))
            return false;
        while (isNameStart(*at_) || (*at_ >= '0' && *at_ <= '9') || *at_ == '-' || *at_ == '.' ||
               *at_ == ':')
            ++at_;
        return *at_ != '\0';
    }

    bool skipPast(const char* end, size_t from) {
        const char* found = std::strstr(at_ + from, end);
        if (found == nullptr)
            return false;
        at_ = found + std::strlen(end);
        return true;
    }

    bool exceededAt(const char* start) {
        excess_ = start;
        return false;
    }

    bool startsWith(std::string_view what) const {
        return std::strncmp(at_, what.data(), what.size()) == 0;
    }
    static bool isSpace(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }
    static bool isHexDigit(char c) {
        return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
    }
    static bool isNameStart(char c) {
        return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_' ||
               static_cast<unsigned char>(c) >= 127;
    }

    const char* at_;
    const XmlBounds bounds_;
    size_t depth_ = 0;
    std::vector<std::string_view> open_;  // names
    const char* excess_ = nullptr;
};

}  // namespace

size_t harmlessLength(const std::string& text, const XmlBounds& bounds) {
    const char* begin = text.c_str();
    const char* excess = Scanner(begin, bounds).findExcess();
    return excess != nullptr ? static_cast<size_t>(excess - begin) : std::strlen(begin);
}
