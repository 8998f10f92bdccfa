#pragma once
// Child elements and node elements of a GenApi description, as the loader classifies them.
#include <GenApi/Types.h>

#include <cstdint>
#include <string>

namespace GenApi {

enum class EProp : uint8_t {
  Unknown,
  // every node
  ToolTip,
  Description,
  DisplayName,
  Visibility,
  DocuURL,
  IsDeprecated,
  EventID,
  pIsImplemented,
  pIsAvailable,
  pIsLocked,
  pBlockPolling,
  ImposedAccessMode,
  pError,
  pAlias,
  pCastAlias,
  pInvalidator,
  // registers
  Streamable,
  Address,
  pAddress,
  pIndex,
  Length,
  pLength,
  AccessMode,
  pPort,
  Cachable,
  PollingTime,
  Sign,
  Endianess,
  Unit,
  Representation,
  pSelected,
  Bit,
  LSB,
  MSB,
  // values
  Value,
  pValue,
  pValueCopy,
  ValueIndexed,
  pValueIndexed,
  ValueDefault,
  pValueDefault,
  Min,
  pMin,
  Max,
  pMax,
  Inc,
  pInc,
  DisplayNotation,
  DisplayPrecision,
  // others
  pFeature,
  NumericValue,
  Symbolic,
  IsSelfClearing,
  OnValue,
  OffValue,
  CommandValue,
  pCommandValue,
  ChunkID,
  pChunkID,
  SwapEndianess,
  pVariable,
  Constant,
  Expression,
  Formula,
  FormulaTo,
  FormulaFrom,
  Slope
};

enum class ENodeType : uint8_t {
  None,
  Node,
  Category,
  Integer,
  IntReg,
  MaskedIntReg,
  Float,
  FloatReg,
  Enumeration,
  Boolean,
  Command,
  String,
  StringReg,
  Register,
  Port,
  SwissKnife,
  IntSwissKnife,
  Converter,
  IntConverter,
  ConfRom,
  TextDesc,
  IntKey,
  AdvFeatureLock,
  SmartFeature,
  // not stand-alone elements
  EnumEntry,
  StructEntry
};

//! The attributes a property element may carry.
struct CPropAttr {
  std::string Name;    // pVariable, Constant, Expression
  std::string Index;   // ValueIndexed, pValueIndexed
  std::string Offset;  // pIndex
  std::string pOffset; // pIndex
};

EProp PropFromName(const std::string& name);
ENodeType NodeTypeFromName(const std::string& name);

//! Integer literal: optionally signed decimal or 0x hex (the full 64-bit pattern). False on junk.
bool ParseInt64(const std::string& text, int64_t& value);
bool ParseDouble(const std::string& text, double& value);
//! RO/WO/RW (and the lenient R/W); false on anything else.
bool ParseAccessMode(const std::string& text, EAccessMode& mode);
bool ParseYesNo(const std::string& text, bool& value);

} // namespace GenApi
