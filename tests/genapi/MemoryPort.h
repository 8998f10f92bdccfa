#pragma once
// A register space in memory that counts the accesses made to it, and the fixture of the suites
// that load a description over it.
#include <GenApi/GenApi.h>

#include <gtest/gtest.h>

#include <cstring>
#include <map>
#include <string>

class CMemoryPort : public GenApi::IPort {
public:
  GenApi::EAccessMode GetAccessMode() const override { return m_Mode; }
  void Read(void* buffer, int64_t address, int64_t length) override {
    ++m_Reads;
    for (int64_t i = 0; i < length; ++i)
      static_cast<uint8_t*>(buffer)[i] = m_Bytes[static_cast<uint64_t>(address) + i];
  }
  void Write(const void* buffer, int64_t address, int64_t length) override {
    ++m_Writes;
    for (int64_t i = 0; i < length; ++i)
      m_Bytes[static_cast<uint64_t>(address) + i] = static_cast<const uint8_t*>(buffer)[i];
  }
  void Poke(uint64_t address, std::initializer_list<uint8_t> bytes) {
    for (uint8_t byte : bytes)
      m_Bytes[address++] = byte;
  }
  uint8_t Peek(uint64_t address) { return m_Bytes[address]; }

  std::map<uint64_t, uint8_t> m_Bytes; // the whole 64-bit space; addresses wrap
  int m_Reads = 0;
  int m_Writes = 0;
  GenApi::EAccessMode m_Mode = GenApi::RW;
};

//! Wraps node elements into a schema 1.1 description with a "Device" port.
inline std::string Describe(const std::string& nodes, bool withPort = true) {
  return std::string("<?xml version=\"1.0\"?>\n<RegisterDescription ModelName=\"T\" "
                     "VendorName=\"V\" StandardNameSpace=\"None\" SchemaMajorVersion=\"1\" "
                     "SchemaMinorVersion=\"1\" SchemaSubMinorVersion=\"0\" MajorVersion=\"1\" "
                     "MinorVersion=\"0\" SubMinorVersion=\"0\" "
                     "ProductGuid=\"0\" VersionGuid=\"0\" "
                     "xmlns=\"http://www.genicam.org/GenApi/Version_1_1\">\n") +
         nodes + (withPort ? "<Port Name=\"Device\"/>\n" : "") + "</RegisterDescription>\n";
}

//! A description loaded over a CMemoryPort.
class CMapTest : public ::testing::Test {
protected:
  void Load(const std::string& nodes) {
    m_Ref._LoadXMLFromString(Describe(nodes));
    ASSERT_TRUE(m_Ref._Connect(&m_Port));
  }
  GenApi::CIntegerPtr Int(const char* name) { return m_Ref._GetNode(name); }
  GenApi::CNodeMapRef m_Ref;
  CMemoryPort m_Port;
};
