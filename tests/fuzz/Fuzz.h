/// \file
/// What the fuzzer's targets share.
#pragma once

#include "core/RuntimeError.h"

#include <QByteArray>
#include <QString>

#include <cstdlib>
#include <functional>
#include <iostream>
#include <map>
#include <string>

/// What has to hold for every input. An assertion of its own, so that no build leaves it out.
#define PROMISE(condition)                                                                                                                 \
    do {                                                                                                                                   \
        if (!(condition)) {                                                                                                                \
            std::cerr << __FILE__ << ':' << __LINE__ << ": broken promise: " #condition << std::endl;                                      \
            std::abort();                                                                                                                  \
        }                                                                                                                                  \
    } while (false)

namespace qm::fuzz {

/// A target takes any input. It refuses by a RuntimeError; whatever else it throws, a sanitizer's word or a broken promise is a find.
using Target = std::function<void(const QByteArray &)>;
using Targets = std::map<std::string, Target>;

[[nodiscard]] Targets configurationTargets();
[[nodiscard]] Targets importTargets();
[[nodiscard]] Targets engineTargets();
[[nodiscard]] Targets deliveryTargets();
[[nodiscard]] Targets reportTargets();

/// \p action of a writer or a reader of ours on what was accepted before: a refusal is a find too.
template <class Action>
auto mustSucceed(Action action)
{
    try {
        return action();
    } catch (const RuntimeError &error) {
        std::cerr << error.what() << '\n';
        PROMISE(!"what was accepted is carried out");
        throw;
    }
}

/// The path of a file of this process; \c put() fills it.
[[nodiscard]] QString scratch(const char *name);
[[nodiscard]] QString put(const char *name, const QByteArray &bytes);

} // namespace qm::fuzz
