// Mutation of KTX files of either version.
#pragma once

#include "header_mutator.h"

/// Mutates as the version that the file has, at times as the other; the new size.
std::size_t Fuzz_MutateKtxFile(FuzzFile file, FuzzRandom& random);
