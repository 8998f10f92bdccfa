#pragma once
// Parsing of the port configuration file with Xerces-C's DOM parser.
#include "PortConfiguration.h"

#include <xercesc/dom/DOMElement.hpp>

namespace Vorla {

//! Reads the CL bindings file into a port configuration table. Xerces must be initialised by
//! the caller.
class CCLBindingsFile {
public:
  //! Appends one entry per Port element (at any depth, document order) whose ID is not empty;
  //! returns the number appended. A null path, or a file that does not exist or cannot be
  //! read, gives 0 without an exception. Parse and processing failures throw
  //! GenICam::RuntimeException.
  static unsigned int ParseCLBindingsFile(const char* path, PortConfigurationTable& table);
  //! Fills `entry` (reset first) from the child elements of one Port element; false if the
  //! resulting ID is empty.
  static bool ReadPortEntry(const xercesc::DOMElement* port, SPortConfigurationEntry& entry);
};

} // namespace Vorla
