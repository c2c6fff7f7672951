#pragma once

#include <CoreFoundation/CoreFoundation.h>

/// The folder manager, file references and four-character codes: Apple's names, the subset in use.

typedef SInt16 FSVolumeRefNum;
typedef UInt32 TextEncoding;

/// A file or folder that existed when the reference was made. Opaque, of fixed size, copied freely.
typedef struct FSRef {
    UInt8 hidden[80];
} FSRef;

/// A name of at most 255 UTF-16 units.
typedef struct HFSUniStr255 {
    UInt16 length;
    UniChar unicode[255];
} HFSUniStr255;

enum { kOnSystemDisk = -32768L };
enum { kApplicationSupportFolderType = 0x61737570 /* 'asup' */ };
enum { kTextEncodingUnicodeDefault = 0x0100 };

enum { nsvErr = -35, bdNamErr = -37, fnfErr = -43, paramErr = -50, dirNFErr = -120 };

#ifdef __cplusplus
extern "C" {
#endif

/// Finds a folder of the system. Known is the Application Support folder of the system disk: on
/// Linux the first of $XDG_DATA_HOME and $XDG_DATA_DIRS with a folder "Zynwerks", else
/// $XDG_DATA_HOME. Writes `foundRef` and returns noErr; fnfErr when the folder is missing, which is
/// never created, dirNFErr for another type, nsvErr for another volume.
OSErr FSFindFolder(FSVolumeRefNum vRefNum, OSType folderType, Boolean createFolder,
                   FSRef* foundRef);
/// Makes a reference to what is named in a folder. Writes `newRef` and returns noErr; fnfErr when
/// there is nothing of that name, dirNFErr when the folder is gone, bdNamErr for a name with "/".
OSErr FSMakeFSRefUnicode(const FSRef* parentRef, UniCharCount nameLength, const UniChar* name,
                         TextEncoding textEncodingHint, FSRef* newRef);

/// The four-character code of a string: its MacRoman bytes, cut at four, short ones filled with
/// zero bytes, the first in the high byte. 0 when a character has no place in MacRoman.
OSType UTGetOSTypeFromString(CFStringRef inString);

#ifdef __cplusplus
}
#endif
