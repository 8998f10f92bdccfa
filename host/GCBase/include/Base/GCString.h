#pragma once
#include <string>
#include <vector>

namespace GenICam {
using gcstring = std::string;
using gcstring_vector = std::vector<gcstring>;
} // namespace GenICam
