/// \file
/// What a failing call said.
#pragma once

#include "core/RuntimeError.h"

namespace qm::test {

/// The error that \p body throws; number 0 and no text when it throws none.
template <class Body>
RuntimeError errorOf(Body &&body)
{
    try {
        body();
    } catch (const RuntimeError &error) {
        return error;
    }
    return {0, {}, {}};
}

template <class Body>
int numberOf(Body &&body)
{
    return errorOf(std::forward<Body>(body)).number();
}

} // namespace qm::test
