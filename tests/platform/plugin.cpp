extern "C" __attribute__((visibility("default"))) int pluginAnswer() {
  return 42;
}
