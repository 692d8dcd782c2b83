// SPDX-License-Identifier: Apache-2.0
#pragma once

// Commands that the system's command interpreter "cmd" runs elsewhere. Here one form is understood,
//   /c reg query KEY /v NAME >>FILE
// (FILE may stand in quotes), and answered from the registry file, appended to FILE in the layout
// of that command: an empty line, the key, four blanks, name, type and value four blanks apart, an
// empty line, each with CR LF. A value that is not there adds nothing.
//
// NAXFEWXMLDB_REG names a program that answers instead: it is started with the arguments query,
// KEY, /v and NAME, its standard output appended to FILE, in a process group of its own.
#include "platform/basic_types.h"

#include <memory>
#include <string>

namespace Nax::FrontEnd::XMLDB {

/// A command that was started. Destruction kills one that still runs, with the processes it has
/// started, and never waits for long. For one thread at a time.
class IShellProcess {
public:
    virtual ~IShellProcess() = default;
    /// True when the command has ended, false after that time.
    virtual bool Wait(DWORD milliseconds) = 0;
};

/// Starts `program` ("cmd") with its parameter text. Null when it cannot be started; the reason is
/// in GetLastError, ENOTSUP for any other command.
std::unique_ptr<IShellProcess> StartShellCommand(const std::string& program,
                                                 const std::string& parameters);

} // namespace Nax::FrontEnd::XMLDB
