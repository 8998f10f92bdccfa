// Loads the sample descriptions named by GENAPI_SAMPLES and reads every readable feature through
// memory-backed ports; skipped when the variable is unset.
#include "MemoryPort.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>
#include <vector>

using namespace GenApi;

namespace {

class Samples : public ::testing::TestWithParam<const char*> {};

TEST_P(Samples, LoadReadAndRoundTrip) {
  const char* folder = std::getenv("GENAPI_SAMPLES");
  if (!folder)
    GTEST_SKIP() << "GENAPI_SAMPLES is not set";
  CNodeMapRef ref;
  ref._LoadXMLFromFile(std::string(folder) + "/" + GetParam());
  NodeList_t nodes;
  ref._GetNodes(nodes);
  ASSERT_GT(nodes.size(), 10u);
  std::vector<std::unique_ptr<CMemoryPort>> ports;
  for (INode* node : nodes)
    if (node->GetPrincipalInterfaceType() == intfIPort) {
      ports.push_back(std::make_unique<CMemoryPort>());
      ASSERT_TRUE(ref._Connect(ports.back().get(), node->GetName()));
    }
  int read = 0, written = 0;
  for (INode* node : nodes) {
    CValuePtr value = node;
    if (!value || !IsReadable(node) || node->GetPrincipalInterfaceType() == intfICommand)
      continue;
    gcstring text;
    try {
      text = value->ToString();
      ++read;
    } catch (const GenICam::OutOfRangeException&) {
      continue; // an enumeration whose zeroed register matches no entry
    }
    CIntegerPtr integer = node;
    if (integer && IsWritable(node)) {
      // Step one increment up (when the range allows), check, and restore.
      const int64_t value = integer->GetValue();
      const int64_t min = integer->GetMin(), max = integer->GetMax(), inc = integer->GetInc();
      // Unsigned: the distance from a minimum of INT64_MIN does not fit the signed type.
      if (value < min || value > max || inc <= 0 ||
          (static_cast<uint64_t>(value) - static_cast<uint64_t>(min)) % static_cast<uint64_t>(inc))
        continue;
      const int64_t next = value <= max - inc ? value + inc : value;
      integer->SetValue(next);
      EXPECT_EQ(next, integer->GetValue()) << node->GetName();
      integer->SetValue(value);
      ++written;
    }
    CFloatPtr real = node;
    // The Aravis test file's ConverterEnumeration uses 4 + x both ways, so it cannot round-trip.
    if (real && IsWritable(node) && node->GetName() != "ConverterEnumeration") {
      const double value = real->GetValue();
      if (value >= real->GetMin() && value <= real->GetMax()) {
        real->SetValue(value);
        EXPECT_DOUBLE_EQ(value, real->GetValue()) << node->GetName();
        ++written;
      }
    }
    CEnumerationPtr enumeration = node;
    if (enumeration && IsWritable(node)) {
      gcstring_vector symbolics;
      enumeration->GetSymbolics(symbolics);
      for (const gcstring& symbolic : symbolics) {
        enumeration->FromString(symbolic);
        EXPECT_EQ(symbolic, enumeration->ToString()) << node->GetName();
        ++written;
      }
    }
  }
  EXPECT_GT(read, 10);
  EXPECT_GT(written, 0);
}

INSTANTIATE_TEST_SUITE_P(GenApi, Samples,
                         ::testing::Values("aravis_tests_data_genicam.xml",
                                           "aravis_arv-fake-camera.xml",
                                           "adgenicam_Orca_Fire_C16240-20UP.xml"));

} // namespace
