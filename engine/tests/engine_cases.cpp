#include "engine_cases.h"
#include <atomic>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <map>
#include <memory>
#include <sstream>

namespace engine_test {


Bytes bytesOf(const std::string& notation)
{
    Bytes out;
    for (size_t at = 0; at < notation.size(); at++) {
        if (notation[at] != '{') {
            out.push_back(uint8_t(notation[at]));
            continue;
        }
        const size_t end = notation.find('}', at);
        std::istringstream tokens(notation.substr(at + 1, end - at - 1));
        at = end;
        for (std::string t; tokens >> t;) {
            if (t == "lf") out.push_back(0x0A);
            else if (t == "reset") out.insert(out.end(), {0x1D, 0x21, 0x00, 0x1B, 0x21, 0x00});
            else if (t.compare(0, 2, "al") == 0) out.insert(out.end(), {0x1B, 0x61, uint8_t(std::atoi(t.c_str() + 2))});
            else if (t[0] == 's') {
                const int s = std::atoi(t.c_str() + 1);
                out.insert(out.end(), {0x1B, 0x21, uint8_t(s & 8), 0x1D, 0x21, uint8_t((s & 2 ? 0x10 : 0) + (s & 4 ? 1 : 0))});
            } else if (t.find('*') != std::string::npos)
                out.insert(out.end(), size_t(std::atoi(t.c_str())), uint8_t(std::strtol(&t[t.find('*') + 1], nullptr, 16)));
            else out.push_back(uint8_t(std::strtol(t.c_str(), nullptr, 16)));
        }
    }
    return out;
}

std::string readText(const std::string& path)
{
    std::ifstream file(path[0] == '/' ? path : ENGINE_TESTS_DIR "/" + path, std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

void setTimeZone(const char* zone)
{
    setenv("TZ", zone, 1);
    tzset();
}

std::string textOf(const cJSON* value)
{
    if (cJSON_IsString(value))
        return value->valuestring;
    char* printed = value ? cJSON_PrintUnformatted(value) : nullptr;
    std::string out = printed ? printed : "";
    cJSON_free(printed);
    return out;
}

std::vector<Row> table(const char* name)
{
    // Kept for the whole program, as rows point into it; freed at its end.
    static std::map<std::string, std::unique_ptr<cJSON, void (*)(cJSON*)>> loaded;
    auto found = loaded.find(name);
    if (found == loaded.end())
        found = loaded.emplace(name, std::unique_ptr<cJSON, void (*)(cJSON*)>(
                                         cJSON_Parse(readText(std::string(name) + ".json").c_str()), cJSON_Delete))
                    .first;
    const cJSON* list = found->second.get();
    std::vector<Row> rows;
    const cJSON* item = nullptr;
    cJSON_ArrayForEach(item, list)
        rows.push_back({cJSON_GetObjectItemCaseSensitive(item, "name")->valuestring, item});
    if (rows.empty())
        ADD_FAILURE() << "no cases in " << name;
    return rows;
}

EngineError format(const std::string& entry, Receipt& receipt, const char* restaurant, const char* input,
                   const char* settings)
{
    auto fn = entry == "online" ? format_online_order : entry == "local" ? format_local_order : format_summary;
    return fn(&receipt.data, &receipt.length, restaurant, input, settings);
}

}  // namespace engine_test
