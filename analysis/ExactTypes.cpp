#include "analysis/ExactTypes.h"

#include <cmath>

namespace vorela {

std::optional<double> ExactHarmonic::SignalToNoise() const {
    if (!sigma || *sigma == 0.0)
        return std::nullopt;
    return std::abs(index) / (*sigma * std::sqrt(2.0));
}

const char* MethodName(ExactMethod method) {
    switch (method) {
        case ExactMethod::single:
            return "single";
        case ExactMethod::joint:
            return "joint";
        case ExactMethod::storage:
            return "storage";
        case ExactMethod::constrained:
            return "constrained";
        default:
            return "";
    }
}

const ExactEstimate* ExactInterval::Recommended() const {
    switch (recommended) {
        case ExactMethod::single:
            return &single;
        case ExactMethod::joint:
            return &joint;
        case ExactMethod::storage:
            return &storage;
        case ExactMethod::constrained:
            return constrained ? &*constrained : nullptr;
        default:
            return nullptr;
    }
}

}  // namespace vorela
