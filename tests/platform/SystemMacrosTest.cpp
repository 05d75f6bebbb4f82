// Compiles every header of the layer with the other system's macros in force. That system's own
// header turns each of these names into another one, so a declaration here would differ between
// files that include it and files that do not. Poisoned, a name in use stops the compiler.
//
// Programs for that system turn `min` and `max` off (NOMINMAX), so those are not listed.
#pragma GCC poison AnsiLower AnsiUpper CopyFile CopyFileEx CreateDirectory CreateDirectoryEx
#pragma GCC poison CreateEvent CreateEventEx CreateFile CreateFileMapping CreateHardLink
#pragma GCC poison CreateMutex CreateMutexEx CreateProcess CreateSemaphore CreateSymbolicLink
#pragma GCC poison CreateWaitableTimer DecryptFile DeleteFile DialogBox DispatchMessage
#pragma GCC poison EncryptFile ExpandEnvironmentStrings FatalAppExit FindFirstFile
#pragma GCC poison FindFirstFileEx FindNextFile FindText FindWindow FormatMessage GetBinaryType
#pragma GCC poison GetClassName GetCommandLine GetCompressedFileSize GetComputerName
#pragma GCC poison GetCurrentDirectory GetDiskFreeSpace GetDiskFreeSpaceEx GetDriveType
#pragma GCC poison GetEnvironmentStrings GetEnvironmentVariable GetFileAttributes
#pragma GCC poison GetFileAttributesEx GetFileVersionInfo GetFullPathName GetLongPathName
#pragma GCC poison GetMessage GetModuleFileName GetModuleHandle GetObject GetShortPathName
#pragma GCC poison GetStartupInfo GetSystemDirectory GetTempFileName GetTempPath GetUserName
#pragma GCC poison GetVersionEx GetVolumeInformation GetWindowsDirectory LoadLibrary
#pragma GCC poison LoadLibraryEx MessageBox MoveFile MoveFileEx OpenEvent OpenFileMapping
#pragma GCC poison OpenMutex OpenSemaphore OutputDebugString PeekMessage PostMessage
#pragma GCC poison QueryFullProcessImageName RemoveDirectory ReplaceFile ReportEvent SearchPath
#pragma GCC poison SendMessage SetCurrentDirectory SetEnvironmentVariable SetFileAttributes
#pragma GCC poison ShellExecute StartService Yield far interface near small ABSOLUTE ALTERNATE
#pragma GCC poison CONST DELETE DIFFERENCE ERROR FALSE IGNORE IN INFINITE NO_ERROR OPTIONAL OUT
#pragma GCC poison RELATIVE STRICT TRUE VOID

#include "EveryPlatformHeader.h"
