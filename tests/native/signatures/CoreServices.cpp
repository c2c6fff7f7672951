// Core Services as Apple documents it: the folder manager, file references, four-character codes.

#include <CoreServices/CoreServices.h>

#include "tests/native/signatures/Signature.h"

TYPE(FSVolumeRefNum, SInt16);
TYPE(TextEncoding, UInt32);
STRUCTURE(FSRef, 80);
FIELD(FSRef, hidden, 0, UInt8[80]);
STRUCTURE(HFSUniStr255, 512);
FIELD(HFSUniStr255, length, 0, UInt16);
FIELD(HFSUniStr255, unicode, 2, UniChar[255]);
CONSTANT(kOnSystemDisk, -32768);
CONSTANT(kApplicationSupportFolderType, 0x61737570);
CONSTANT(kTextEncodingUnicodeDefault, 0x0100);
CONSTANT(nsvErr, -35);
CONSTANT(bdNamErr, -37);
CONSTANT(fnfErr, -43);
CONSTANT(paramErr, -50);
CONSTANT(dirNFErr, -120);
FUNCTION(FSFindFolder, OSErr(FSVolumeRefNum, OSType, Boolean, FSRef*));
FUNCTION(FSMakeFSRefUnicode,
         OSErr(const FSRef*, UniCharCount, const UniChar*, TextEncoding, FSRef*));
FUNCTION(UTGetOSTypeFromString, OSType(CFStringRef));
