#pragma once
#include <Base/GCString.h>

#include <cstdint>

namespace GenApi {

using GenICam::gcstring;
using GenICam::gcstring_vector;

//! Access modes, in the GenICam order (RW = 4).
enum EAccessMode { NI, NA, WO, RO, RW, _UndefinedAccesMode, _CycleDetectAccesMode };

enum EVisibility { Beginner = 0, Expert = 1, Guru = 2, Invisible = 3, _UndefinedVisibility = 99 };

enum ECachingMode { NoCache, WriteThrough, WriteAround, _UndefinedCachingMode };

enum ERepresentation {
  Linear,
  Logarithmic,
  Boolean,
  PureNumber,
  HexNumber,
  IPV4Address,
  MACAddress,
  _UndefinedRepresentation
};

enum EEndianess { BigEndian, LittleEndian, _UndefinedEndian };

enum ESign { Signed, Unsigned, _UndefinedSign };

enum ECallbackType { cbPostInsideLock = 1, cbPostOutsideLock = 2 };

enum ENameSpace { Custom, Standard, _UndefinedNameSpace };

enum EIncMode { noIncrement, fixedIncrement, listIncrement };

enum EDisplayNotation { fnAutomatic, fnFixed, fnScientific, _UndefinedEDisplayNotation };

//! The main interface a node offers (GenICam numbering).
enum EInterfaceType {
  intfIValue,
  intfIBase,
  intfIInteger,
  intfIBoolean,
  intfICommand,
  intfIFloat,
  intfIString,
  intfIRegister,
  intfICategory,
  intfIEnumeration,
  intfIEnumEntry,
  intfIPort
};

//! Identifies a registered node callback; never 0 for a valid registration.
using CallbackHandleType = intptr_t;

} // namespace GenApi
