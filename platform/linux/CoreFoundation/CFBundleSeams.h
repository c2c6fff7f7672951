#pragma once

// Inside of the layer only, never installed: where bundles lie on this system.

#include <CoreFoundation/CFBundle.h>

#include <filesystem>

namespace kivo {

/// Where the parts of a bundle are.
struct BundleLayout {
    /// The bundle's own folder.
    std::filesystem::path root;
    /// The folder of Info.plist.
    std::filesystem::path contents;
    /// The folder of the .lproj folders.
    std::filesystem::path resources;
};

/// The layout of the bundle that an executable belongs to, which is the first of
/// - X.app, for X.app/Contents/<any>/<name>;
/// - <prefix>/share/<name>.resources where that is a folder, for <prefix>/{bin,sbin,libexec}/<name>
///   and <prefix>/{lib,libexec}/<any>/<name>;
/// - the executable's own folder.
BundleLayout LayoutOfExecutable(const std::filesystem::path& executable);

/// Lets another executable stand for the process's own. For tests, before the first call of
/// CFBundleGetMainBundle.
void UseMainExecutable(const std::filesystem::path& executable);

}  // namespace kivo
