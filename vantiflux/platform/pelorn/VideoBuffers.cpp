#include <vantiflux/platform/pelorn/VideoBuffers.h>

#include <cerrno>

#include <linux/videodev2.h>
#include <sys/mman.h>

namespace Pelorn {

namespace {

v4l2_buffer bufferOf(unsigned index) {
  v4l2_buffer buffer{};
  buffer.index = index;
  buffer.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
  buffer.memory = V4L2_MEMORY_MMAP;
  return buffer;
}

} // namespace

VideoBuffers::~VideoBuffers() {
  unmap();
}

bool VideoBuffers::request(unsigned count) {
  v4l2_requestbuffers wanted{};
  wanted.count = count;
  wanted.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
  wanted.memory = V4L2_MEMORY_MMAP;
  if (!device_.request(VIDIOC_REQBUFS, &wanted) || wanted.count == 0)
    return false;
  if (wanted.count > limit) {
    release();
    return false;
  }
  mappings_.assign(wanted.count, {MAP_FAILED, 0});
  return true;
}

bool VideoBuffers::map(std::size_t frameSize) {
  for (unsigned i = 0; i < mappings_.size(); ++i)
    if (!mapOne(i, frameSize) || !queue(i))
      return false;
  return true;
}

bool VideoBuffers::mapOne(unsigned index, std::size_t frameSize) {
  v4l2_buffer buffer = bufferOf(index);
  if (!device_.request(VIDIOC_QUERYBUF, &buffer) || buffer.length < frameSize)
    return false;
  void* const address =
      ::mmap(nullptr, buffer.length, PROT_READ | PROT_WRITE, MAP_SHARED, device_.file_.get(), buffer.m.offset);
  mappings_[index] = {address, buffer.length};
  return address != MAP_FAILED;
}

bool VideoBuffers::queue(unsigned index) {
  v4l2_buffer buffer = bufferOf(index);
  return device_.request(VIDIOC_QBUF, &buffer);
}

bool VideoBuffers::streamOn() {
  int type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
  return device_.request(VIDIOC_STREAMON, &type);
}

void VideoBuffers::unmap() {
  if (mappings_.empty())
    return;
  int type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
  device_.request(VIDIOC_STREAMOFF, &type);
  for (const Mapping& mapping : mappings_)
    if (mapping.address != MAP_FAILED)
      ::munmap(mapping.address, mapping.length);
  mappings_.clear();
}

void VideoBuffers::release() {
  unmap();
  v4l2_requestbuffers none{};
  none.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
  none.memory = V4L2_MEMORY_MMAP;
  device_.request(VIDIOC_REQBUFS, &none);
}

VideoBuffers::Taking VideoBuffers::take(const unsigned char*& frame) {
  v4l2_buffer buffer = bufferOf(0);
  if (!device_.request(VIDIOC_DQBUF, &buffer))
    return errno == EAGAIN ? Taking::Nothing : Taking::Failed;
  if (buffer.index >= mappings_.size())
    return Taking::Failed;
  taken_ = buffer.index;
  frame = static_cast<const unsigned char*>(mappings_[taken_].address);
  return Taking::Frame;
}

bool VideoBuffers::giveBack() {
  return queue(taken_);
}

} // namespace Pelorn
