#include "host/serve/change_request.h"

#include <nlohmann/json.hpp>

ChannelChange parseChange(std::string_view json) {
    const nlohmann::json document = nlohmann::json::parse(json, nullptr, false);
    if (!document.is_object())
        throw ChangeError("The body is no JSON object.");
    ChannelChange change;
    for (const auto& [key, value] : document.items())
        if (key == "name" && value.is_string())
            change.name = value.get<std::string>();
        else if (key == "enabled" && value.is_boolean())
            change.enabled = value.get<bool>();
        else
            throw ChangeError(
                R"(A channel's "name" (a text) and "enabled" (true or false) can be changed.)");
    if (!change.name && !change.enabled)
        throw ChangeError(R"(The object has neither "name" nor "enabled".)");
    return change;
}
