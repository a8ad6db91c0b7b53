#include "config/xml_bounds.h"

#include <strings.h>

#include <algorithm>
#include <cstring>
#include <string_view>
#include <utility>

namespace {

// Walks through a text exactly as TinyXML's parser does, without building a tree. Each function
// moves past one construct, and returns false where the parser would give up.
class Scanner {
  public:
    Scanner(const char* text, const XmlBounds& bounds)
        : text_(text), end_(text + std::strlen(text)), at_(text), bounds_(bounds) {}

    std::vector<Excess> findExcess() {
        for (bool isText = false; skipSpace(); isBehindText_ = isText) {
            isText = *at_ != '<';
            if (!node())
                break;
            if (isInExcess() && open_.size() == levelsOutside_)
                found_.back().end = offsetOf(at_);
        }
        return std::move(found_);
    }

  private:
    bool node() {
        if (*at_ != '<')
            return !open_.empty() && text();
        if (!open_.empty() && at_[1] == '/')
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
        if (open_.size() == bounds_.levels)
            beginExcess(start, true);
        if (!skipSpace() || !skipName())
            return false;
        const std::string_view element = name_;
        attributes_.clear();
        while (skipSpace()) {
            if (*at_ == '/') {
                at_ += 2;
                return at_[-1] == '>' && areAttributesDistinct();
            }
            if (*at_ == '>') {
                ++at_;
                open_.push_back(element);
                return areAttributesDistinct();
            }
            if (!attribute() || *at_ == '\0')
                return false;
            attributes_.push_back(name_);
            if (attributes_.size() == bounds_.attributes + 1) {
                if (!areAttributesDistinct())
                    return false;
                beginExcess(start, false);
            }
        }
        return false;
    }

    bool areAttributesDistinct() {
        std::sort(attributes_.begin(), attributes_.end());
        return std::adjacent_find(attributes_.begin(), attributes_.end()) == attributes_.end();
    }

    // The parser compares as many characters as the open element's name has, then expects a ">".
    bool endTag() {
        const std::string_view name = open_.back();
        open_.pop_back();
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

    // Moves past one byte, or one numeric entity, of a text or quoted value. Bytes are enough:
    // those of a multi-byte character mean nothing to the parser.
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

    // Returns false at the end of the text.
    bool skipSpace() {
        while (isSpace(*at_) || startsWith("\xEF\xBB\xBF") || startsWith("\xEF\xBF\xBE") ||
               startsWith("\xEF\xBF\xBF"))
            at_ += isSpace(*at_) ? 1 : 3;
        return *at_ != '\0';
    }

    bool skipName() {
        const char* start = at_;
        if (!isNameStart(*at_))
            return false;
        while (isNameStart(*at_) || (*at_ >= '0' && *at_ <= '9') || *at_ == '-' || *at_ == '.' ||
               *at_ == ':')
            ++at_;
        name_ = {start, static_cast<size_t>(at_ - start)};
        return *at_ != '\0';
    }

    bool skipPast(std::string_view end, size_t from) {
        const size_t found = std::string_view(at_, static_cast<size_t>(end_ - at_)).find(end, from);
        if (found == std::string_view::npos)
            return false;
        at_ += found + end.size();
        return true;
    }

    // Does nothing inside an element that is already excess.
    void beginExcess(const char* start, bool isTooDeep) {
        if (isInExcess())
            return;
        found_.push_back({offsetOf(start), Excess::NeverEnds, isTooDeep, isBehindText_});
        levelsOutside_ = open_.size();
    }
    bool isInExcess() const { return !found_.empty() && found_.back().end == Excess::NeverEnds; }

    size_t offsetOf(const char* position) const { return static_cast<size_t>(position - text_); }
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

    const char* const text_;
    const char* const end_;
    const char* at_;
    const XmlBounds bounds_;
    bool isBehindText_ = false;
    std::string_view name_;                     // read last
    std::vector<std::string_view> open_;        // names of the elements that are open
    std::vector<std::string_view> attributes_;  // names in the last start tag
    std::vector<Excess> found_;
    size_t levelsOutside_ = 0;  // elements open around the last excess
};

}  // namespace

std::vector<Excess> excessIn(const std::string& text, const XmlBounds& bounds) {
    return Scanner(text.c_str(), bounds).findExcess();
}

void leaveOut(const std::vector<Excess>& excess, std::string& text) {
    if (excess.empty())
        return;
    std::string kept;
    size_t copied = 0;
    for (const Excess& element : excess) {
        kept.append(text, copied, element.begin - copied);
        copied = std::min(element.end, text.size());
        if (element.isBehindText)
            kept += "<!---->";
        kept.append(static_cast<size_t>(std::count(&text[element.begin], &text[copied], '\n')),
                    '\n');
    }
    kept.append(text, copied);
    text = std::move(kept);
}
