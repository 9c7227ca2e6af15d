#include "plot/AxisTexts.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>

#include "general/NumberText.h"

namespace vorela {
namespace {

constexpr int mostDecimals = 15;
constexpr double partsOfStep = 20;

std::vector<std::string> Written(const std::vector<double>& values,
                                 const std::function<std::string(double)>& text) {
    std::vector<std::string> texts;
    texts.reserve(values.size());
    for (const double value : values)
        texts.push_back(text(value));
    return texts;
}

double SmallestStep(const std::vector<double>& values) {
    double step = std::numeric_limits<double>::infinity();
    for (std::size_t i = 1; i < values.size(); ++i)
        step = std::min(step, std::abs(values[i] - values[i - 1]));
    return step;
}

}  // namespace

std::vector<std::string> AxisTexts(const std::vector<double>& values) {
    std::vector<std::string> texts = Written(values, FormatNumber);
    const double step = SmallestStep(values);
    if (std::ranges::adjacent_find(texts) == texts.end() || !(step > 0))
        return texts;
    const int decimals =
        std::clamp(static_cast<int>(std::ceil(-std::log10(step / partsOfStep * 2))), 1, mostDecimals);
    const std::string pattern = "0." + std::string(static_cast<std::size_t>(decimals), '#');
    return Written(values, [&](double value) { return FormatByPattern(value, pattern); });
}

}  // namespace vorela
