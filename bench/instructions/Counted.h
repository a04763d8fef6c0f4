// Counting the instructions of single steps, for a program that runs under Valgrind's
// callgrind. By itself the program does the same and counts nothing.
#pragma once

#include <functional>
#include <string>

namespace veskard::bench {

/// Runs `step` and has callgrind write down, under `name`, the instructions that this
/// process has executed meanwhile: those of the step and of the libraries that it
/// calls, not those of the system's kernel or of other processes.
void Counted(const std::string& name, const std::function<void()>& step);

}  // namespace veskard::bench
