#include <vantiflux/platform/pelorn/WebLog.h>

#include <algorithm>
#include <ctime>

#include <vantiflux/platform/pelorn/HTTPText.h>

namespace Pelorn {

void WebLog::setSize(int size) {
  const std::lock_guard guard(lock_);
  size_ = size;
  trim();
}

int WebLog::getSize() const {
  const std::lock_guard guard(lock_);
  return size_;
}

void WebLog::add(std::string_view line) {
  if (getSize() <= 0) // cheap for those who keep no log
    return;
  std::string entry = HTTPText::date(std::time(nullptr)) + "  ";
  entry += line.substr(0, maxLine);
  const std::lock_guard guard(lock_);
  lines_.push_back(std::move(entry));
  trim();
}

void WebLog::trim() {
  const auto kept = static_cast<std::size_t>(std::clamp(size_, 0, maxSize));
  while (lines_.size() > kept)
    lines_.pop_front();
}

std::string WebLog::page(std::string_view title) const {
  std::string page = "<!DOCTYPE html>\n<HTML>\n  <HEAD>\n    <TITLE>" + HTTPText::escape(title) +
                     " Log</TITLE>\n    <LINK REL=\"stylesheet\" TYPE=\"text/css\" HREF=\"/Style.css\">\n  </HEAD>\n"
                     "  <BODY>\n    <H1>Log</H1>\n    <PRE>\n";
  {
    const std::lock_guard guard(lock_);
    for (const std::string& line : lines_)
      page += HTTPText::escape(line) + '\n';
    if (lines_.empty())
      page += "No log entries available.\n";
  }
  return page + "</PRE>\n  </BODY>\n</HTML>\n";
}

} // namespace Pelorn
