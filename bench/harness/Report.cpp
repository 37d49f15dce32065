#include "bench/harness/Report.h"

#include <cinttypes>
#include <cstring>
#include <memory>

namespace bench
{

namespace
{

constexpr int nameWidth = 42;
constexpr int peerWidth = 20;

// Three figures with a unit, such as "12.3 ns".
std::string valueText(const Summary* summary, Clock clock)
{
    if (summary == nullptr)
        return "-";
    double value = summary->medianNs;
    const bool isTime = clock != Clock::heap;
    const char* unit = isTime ? "ns" : "B";
    for (const char* larger : {isTime ? "us" : "KB", isTime ? "ms" : "MB"})
        if (value >= 1000)
        {
            value /= 1000;
            unit = larger;
        }
    char text[32];
    std::snprintf(text, sizeof text, "%.*f %s", value < 10 ? 2 : value < 100 ? 1 : 0, value, unit);
    return text;
}

std::string ratioText(const Summary* ours, const Summary* other)
{
    if (ours == nullptr || other == nullptr)
        return "-";
    char text[32];
    std::snprintf(text, sizeof text, "%.2f", ours->medianNs / other->medianNs);
    return text;
}

std::string aimText(const Aim& aim)
{
    char text[96];
    std::snprintf(text, sizeof text, "%.4g of %s", aim.ratio, aim.of == bestPeer ? "best peer" : aim.of.c_str());
    return text;
}

std::string aimsText(const std::vector<Aim>& aims)
{
    std::string text;
    for (const Aim& aim : aims)
        text += (text.empty() ? "" : ", ") + aimText(aim);
    return text;
}

std::string jsonNumber(const Summary* summary)
{
    char text[32];
    std::snprintf(text, sizeof text, "%.4f", summary != nullptr ? summary->medianNs : 0);
    return summary != nullptr ? text : "null";
}

std::string jsonRatio(const Summary* ours, const Summary* other)
{
    char text[32] = "null";
    if (ours != nullptr && other != nullptr)
        std::snprintf(text, sizeof text, "%.4f", ours->medianNs / other->medianNs);
    return text;
}

// The names of cases and sides need no escapes.
std::string jsonText(const std::string& text)
{
    return '"' + text + '"';
}

std::string jsonName(const Side* side)
{
    return side != nullptr ? jsonText(side->name) : "null";
}

std::string jsonRow(const Measurement& row)
{
    const Summary* const ours = row.ours();
    const Summary* const peer = row.named(bestPeer);
    const Summary* const limit = row.limit();
    const Aim* const aim = row.measured->aims.empty() ? nullptr : &row.measured->aims.front();
    char aimNumber[32] = "null";
    if (aim != nullptr)
        std::snprintf(aimNumber, sizeof aimNumber, "%.4g", aim->ratio);
    return "{\"case\": " + jsonText(row.measured->name) + ", \"ours_ns\": " + jsonNumber(ours) +
           ", \"best_peer\": " + jsonName(row.bestPeerSide()) + ", \"best_peer_ns\": " + jsonNumber(peer) +
           ", \"ratio\": " + jsonRatio(ours, peer) + ", \"limit\": " + jsonName(row.limitSide()) +
           ", \"limit_ns\": " + jsonNumber(limit) + ", \"limit_ratio\": " + jsonRatio(ours, limit) +
           ", \"aim\": " + aimNumber + ", \"aim_of\": " + (aim != nullptr ? jsonText(aim->of) : "null") + "}";
}

} // namespace

void printTableHead(std::FILE* out)
{
    std::fprintf(out, "%-*s %9s %9s  %-*s %9s %10s  %s\n", nameWidth, "case", "ours", "best peer", peerWidth,
                 "its name", "ours/peer", "ours/limit", "aim");
}

void printRow(std::FILE* out, const Measurement& row, bool sides)
{
    const Clock clock = row.measured->clock;
    const Summary* const ours = row.ours();
    const Summary* const peer = row.named(bestPeer);
    const Side* const peerSide = row.bestPeerSide();
    std::fprintf(out, "%-*s %9s %9s  %-*s %9s %10s  %s%s\n", nameWidth, row.measured->name.c_str(),
                 valueText(ours, clock).c_str(), valueText(peer, clock).c_str(), peerWidth,
                 peerSide != nullptr ? peerSide->name.c_str() : "-", ratioText(ours, peer).c_str(),
                 ratioText(ours, row.limit()).c_str(), aimsText(row.measured->aims).c_str(),
                 row.missesAim() ? "  MISSED" : "");
    for (std::size_t i = 0; sides && i < row.summaries.size(); ++i)
    {
        const Summary& summary = row.summaries[i];
        std::fprintf(out, "    %-*s %9s  (lower quartile %.3f ns), ours/this %s\n", nameWidth - 4,
                     row.measured->sides[i].name.c_str(), valueText(&summary, clock).c_str(), summary.lowerQuartileNs,
                     ratioText(ours, &summary).c_str());
    }
    std::fflush(out);
}

bool writeJson(const char* path, const std::vector<Measurement>& rows)
{
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path, "w"), std::fclose);
    if (file == nullptr)
        return false;
    std::fputs("[", file.get());
    const char* separator = "\n  ";
    for (const Measurement& row : rows)
    {
        std::fprintf(file.get(), "%s%s", separator, jsonRow(row).c_str());
        separator = ",\n  ";
    }
    std::fputs("\n]\n", file.get());
    return std::fflush(file.get()) == 0 && std::ferror(file.get()) == 0;
}

int printMisses(std::FILE* out, const std::vector<Measurement>& rows)
{
    int misses = 0;
    for (const Measurement& row : rows)
    {
        if (!row.missesAim())
            continue;
        if (misses++ == 0)
            std::fputs("\nRows that miss their aim:\n", out);
        for (const Aim& aim : row.measured->aims)
            std::fprintf(out, "  %s: %s, aim %s\n", row.measured->name.c_str(),
                         ratioText(row.ours(), row.named(aim.of)).c_str(), aimText(aim).c_str());
    }
    return misses;
}

void printCases(std::FILE* out, const std::vector<Case>& cases)
{
    for (const Case& each : cases)
    {
        std::fprintf(out, "%s\n    %s\n    aim: %s\n    sides:", each.name.c_str(), each.what.c_str(),
                     aimsText(each.aims).c_str());
        const char* separator = " ";
        for (const Side& side : each.sides)
        {
            std::fprintf(out, "%s%s%s", separator, side.name.c_str(), side.role == Role::limit ? " (limit)" : "");
            separator = ", ";
        }
        std::fputs("\n", out);
    }
}

} // namespace bench
