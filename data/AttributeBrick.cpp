#include "data/AttributeBrick.h"

#include <fstream>
#include <memory>
#include <sstream>

#include "data/ResultBrick.h"
#include "foundation/Constants.h"
#include "foundation/Log.h"
#include "foundation/OutputFile.h"
#include "foundation/StatusWord.h"
#include "foundation/StatusWord.h"
#include "interface/Bramblekit.h"

CBKReply* CAttributeBrick::create(const std::string& directory, const std::string& name,
                                  const std::string& value) {
  CBKReply* reply = new CBKReply();
  // The time stamp and the counter keep two files of one name apart.
  std::ostringstream path;
  path << directory << attributesDirectoryName << platformPathSeparator
       << COutputFile::makeSafeFilename(name) << "_" << Util_makeTimestamp(0) << std::hex
       << CResultBrick::getFileCounter();
  BK_LOG(kBlankUID, ": attribute filename is '" << path.str() << "'");
  std::unique_ptr<std::ofstream> out(COutputFile::open(path.str()));
  if (out->is_open()) {
    *out << name << "=" << value << "\n";
    out->close();
    reply->setStatus(bkBuildStatus(BK_PASS, 0, 0));
  } else {
    // Not left as a silent success: the attribute would be lost.
    const std::string text = "Could not open attribute file '" + path.str() + "'";
    reply->setData(text);
    reply->setStatus(bkBuildStatus(BK_FAIL, BK_MSG_CLASS_API_ERROR, BK_MSG_ERROR_FILESYSTEM));
    BK_LOG_ERROR(text);
  }
  return reply;
}

CBKReply* CAttributeBrick::read(const std::string& directory, const std::string& name,
                                std::string* value) {
  (void)directory;
  (void)name;
  (void)value;
  CBKReply* reply = new CBKReply();
  reply->setData("NOT IMPLEMENTED");
  reply->setStatus(bkBuildStatus(BK_FAIL, BK_MSG_CLASS_API_ERROR, BK_MSG_ERROR_UNIMPLEMENTED));
  BK_LOG_ERROR("not implemented");
  return reply;
}
