// Portable file names: "[InstallPath]/..." and "[Mapping]/..." forms, and
// paths relative to or absolute from the installation or application path.
// Every out string carries one reference for the caller.
#pragma once

#include <cstdint>

#include "runtime/CREFString.h"
#include "runtime/Interfaces.h"
#include "runtime/SmartPtr.h"

constexpr HRESULT E_NO_SETTINGS_STORE = static_cast<HRESULT>(0x80040010u);

HRESULT FILENAMEGetInstallPath(IString** out);
HRESULT FILENAMEGetAppPath(IString** out);
HRESULT FILENAMEMap(IString* path, IString** out, int16_t relative);
HRESULT FILENAMEUnmap(IString* portable, IString** out);
// selector 0: relative to the installation path; other: the application path.
HRESULT FILENAMECreateRelative(IString* path, IString** out, int16_t selector);
HRESULT FILENAMECreateRelative(IString* base, IString* path, IString** out);
HRESULT FILENAMECreateAbsolute(IString* path, IString** out, int16_t selector);

// The path with every "\" turned into "/": the string itself when it has
// none, else a new string (null when the host makes none).
SmartPtr<IString> FILENAMEWithForwardSlashes(IString* path);

// The name exists as a directory or as a file that can be read. A name
// whose UTF-8 form is PATH_MAX bytes or longer names nothing the system can
// open.
bool FILENAMEExists(const CREFString& name);
