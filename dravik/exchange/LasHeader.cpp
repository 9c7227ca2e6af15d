#include "dravik/exchange/LasHeader.h"

#include <algorithm>
#include <map>

#include "dravik/exchange/Cells.h"
#include "dravik/exchange/ExchangeError.h"
#include "dravik/exchange/Numbers.h"
#include "dravik/exchange/Records.h"

namespace dravik {
namespace {

/// "MNEM.UNIT DATA : DESCRIPTION"; lines without colon end with their data.
struct HeaderLine {
    std::string mnemonic;
    std::string unit;
    std::string data;
};

bool SplitHeaderLine(std::string_view line, HeaderLine& parts) {
    const std::size_t point = line.find('.');
    if (point == std::string_view::npos)
        return false;
    const std::size_t colon = line.rfind(':');
    const std::size_t end = colon == std::string_view::npos || colon < point ? line.size() : colon;
    const std::size_t unitEnd = std::min(line.find_first_of(" \t", point + 1), end);
    parts.mnemonic = TrimmedCell(line.substr(0, point));
    parts.unit = TrimmedCell(line.substr(point + 1, unitEnd - point - 1));
    parts.data = TrimmedCell(line.substr(unitEnd, end - unitEnd));
    return true;
}

std::optional<double> NumberOf(std::string_view text) {
    double value = 0.0;
    const std::string_view word = text.substr(0, text.find_first_of(" \t"));
    const NumberFormat format{word.find(',') != std::string_view::npos ? ',' : '.', '\0'};
    return ReadNumber(word, format, value) ? std::optional(value) : std::nullopt;
}

std::vector<std::string> WordsBehindTitle(std::string_view line) {
    CellSplitter split(' ', '"');
    split.Split(line, true);
    std::vector<std::string> words(split.Cells().begin(), split.Cells().end());
    words.erase(words.begin());
    return words;
}

class LasHeaderReader {
  public:
    explicit LasHeaderReader(const TextFile& file) : reader_(file) {}

    LasHeader Read() {
        std::string_view line;
        while (!done_ && reader_.Next(line)) {
            const std::string_view trimmed = TrimmedCell(line);
            if (trimmed.starts_with('~'))
                StartSection(trimmed);
            else if (!trimmed.empty() && !trimmed.starts_with('#'))
                TakeLine(trimmed);
        }
        if (!haveData_)
            throw ExchangeError("it has no ~A section (LAS)");
        return header_;
    }

  private:
    enum class Section { none, version, well, curves, other };

    void StartSection(std::string_view line) {
        const std::string title = LowerCase(line.substr(1));
        const std::string set = title.substr(0, title.find_first_of("_[| "));
        section_ = Section::other;
        if (title.find("_data") != std::string::npos)
            return StartData(set, line, set == "log");
        if (title.starts_with('a'))
            return StartData("", line, true);
        if (title.find("_definition") != std::string::npos) {
            section_ = Section::curves;
            set_ = set;
        } else if (title.starts_with('c')) {
            section_ = Section::curves;
            set_.clear();
        } else if (title.starts_with('v')) {
            section_ = Section::version;
        } else if (title.starts_with('w')) {
            section_ = Section::well;
        }
        if (section_ == Section::curves && header_.curvesLine == 0)
            header_.curvesLine = reader_.Here().line - 1;
    }

    /// The log's data are what is wanted; those of another set only where there is no log.
    void StartData(const std::string& set, std::string_view line, bool isLog) {
        done_ = isLog;
        if (haveData_ && !isLog)
            return;
        haveData_ = true;
        header_.data = reader_.Here();
        header_.curves = curves_[set].empty() && isLog ? curves_[""] : curves_[set];
        if (header_.curves.empty() && set.empty())
            header_.curves = curves_["log"];
        header_.dataNames = set.empty() ? WordsBehindTitle(line) : std::vector<std::string>();
    }

    void TakeLine(std::string_view line) {
        HeaderLine parts;
        if (section_ == Section::other || section_ == Section::none || !SplitHeaderLine(line, parts))
            return;
        if (section_ == Section::curves)
            curves_[set_].push_back({parts.mnemonic, parts.unit});
        else
            TakeField(LowerCase(parts.mnemonic), parts);
    }

    void TakeField(const std::string& name, const HeaderLine& parts) {
        const std::string data = LowerCase(parts.data);
        if (name == "vers")
            header_.version = parts.data.substr(0, parts.data.find(' '));
        else if (name == "wrap")
            header_.wrapped = data.starts_with("y");
        else if (name == "dlm")
            header_.delimiter = data.starts_with("comma") ? ',' : data.starts_with("tab") ? '\t' : ' ';
        else if (name == "null")
            header_.null = NumberOf(parts.data);
        else if (name == "stop")
            header_.stop = NumberOf(parts.data);
        else if (name == "step")
            header_.step = NumberOf(parts.data);
        else if (name == "strt")
            header_.indexUnit = parts.unit;
    }

    LineReader reader_;
    LasHeader header_;
    Section section_ = Section::none;
    std::string set_;
    std::map<std::string, std::vector<LasCurve>> curves_;
    bool haveData_ = false;
    bool done_ = false;
};

}  // namespace

bool LooksLikeLas(const TextFile& file) {
    LineReader reader(file);
    std::string_view line;
    while (reader.Here().offset < file.HeadEnd() && reader.Next(line)) {
        line = TrimmedCell(line);
        if (line.size() >= 2 && line[0] == '~' &&
            std::string_view("VvWwCcAa").find(line[1]) != std::string_view::npos)
            return true;
    }
    return false;
}

LasHeader ReadLasHeader(const TextFile& file) {
    return LasHeaderReader(file).Read();
}

}  // namespace dravik
