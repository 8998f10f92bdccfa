#pragma once
// Evaluation helpers for the formula tests: variables come from a name -> value map.
#include "Formula.h"

#include <gtest/gtest.h>

#include <map>
#include <string>

namespace FormulaTest {

using GenApi::CFormula;
using GenApi::FormulaValue;
using Variables = std::map<std::string, FormulaValue>;

inline FormulaValue I(int64_t value) {
  return FormulaValue::FromInt(value);
}
inline FormulaValue F(double value) {
  return FormulaValue::FromFloat(value);
}

inline FormulaValue Evaluate(const std::string& text, bool integerMode,
                             const Variables& variables = {}) {
  const CFormula formula(text);
  return formula.Evaluate(
      [&](size_t id) {
        const auto it = variables.find(formula.Identifiers().at(id));
        if (it == variables.end())
          ADD_FAILURE() << "unexpected read of " << formula.Identifiers().at(id);
        return it == variables.end() ? I(0) : it->second;
      },
      integerMode);
}

//! Integer mode (IntSwissKnife, IntConverter); the result must be an integer.
inline int64_t EvalInt(const std::string& text, const Variables& variables = {}) {
  const FormulaValue value = Evaluate(text, true, variables);
  EXPECT_FALSE(value.IsFloat) << text;
  return value.Int;
}

//! Float mode (SwissKnife, Converter).
inline double EvalFloat(const std::string& text, const Variables& variables = {}) {
  return Evaluate(text, false, variables).AsFloat();
}

} // namespace FormulaTest
