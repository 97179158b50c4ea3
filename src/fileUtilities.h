#pragma once

#include <string>
#include <vector>

/// Makes every failing output a write that fails, which costs that output alone. To be called
/// before the first file is opened.
///
/// A standard stream that is closed is opened on "/dev/null": a file would otherwise get its
/// descriptor and with it the progress lines. The signals of a pipe that nobody reads any more and
/// of a limit on file sizes are ignored: they would end the run.
void prepareOutputs();

/// True when the path exists and its file mode has the directory bit 0x4000 set. No other type bit
/// is looked at, so a socket or a block device, whose modes share that bit, counts as a directory.
bool isDirectory(const std::string& path);

/// True when the file name ends in ".LOG", in exactly this case; ".LOG" itself is such a name.
bool isLogFile(const std::string& filename);

/// The paths of the entries directly inside the directory whose names end in ".LOG", whatever their
/// type, each as the directory path, "/" and the entry name. The directory path is used as it
/// stands. The order is the file system's own and is not sorted: the conversion order depends on
/// it. Empty when there is no such entry or the directory can't be opened. A listing that fails
/// midway ends there, with one line on standard error.
std::vector<std::string> allLogFilesIn(const std::string& path);
