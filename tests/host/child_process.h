#pragma once

#include <sys/types.h>

#include <functional>
#include <map>
#include <string>
#include <vector>

/// A program that a test starts, watches and ends. Its output is collected as it comes.
class ChildProcess {
 public:
  struct Options {
    std::map<std::string, std::string> setEnv;
    std::vector<std::string> unsetEnv;
    std::function<void()> beforeExec;  ///< runs in the child
  };

  explicit ChildProcess(const std::vector<std::string>& arguments)
      : ChildProcess(arguments, Options{}) {}
  ChildProcess(const std::vector<std::string>& arguments, const Options& options);
  ~ChildProcess();  ///< kills what still runs
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;

  pid_t id() const { return id_; }
  void signal(int sig) const;

  /// Reads on until standard output holds `text`. Whether it came before the deadline and the end.
  bool waitForOutput(const std::string& text);

  /// As above, for standard error.
  bool waitForErrors(const std::string& text);
  /// Reads on until the condition holds. Whether it did before the deadline and the end.
  bool waitFor(const std::function<bool()>& condition);
  bool isRunning() const;

  /// Reads on until the program ends; returns its exit status, 128 + signal when one ended it, or
  /// -1 when the deadline passed.
  int wait();

  const std::string& output() const { return output_; }
  const std::string& errors() const { return errors_; }

 private:
  /// Reads what there is, or waits a little for it. False when both streams are closed.
  bool readSome();

  pid_t id_ = -1;
  int outputFd_ = -1;
  int errorsFd_ = -1;
  std::string output_;
  std::string errors_;
};
