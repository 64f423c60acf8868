#pragma once
#include <ostream>
#include <streambuf>
#include <string>

// A stream that accepts everything and keeps nothing: the log when no log file was asked for.
// It never enters a failed state, so writers need not care whether a log exists.
class QuietStream : public std::ostream {
 public:
  class QuietBuffer : public std::streambuf {
   protected:
    int overflow(int c) override;
    std::streamsize xsputn(const char*, std::streamsize count) override { return count; }
  };

  QuietStream();

 private:
  QuietBuffer buffer;
};

// A log file opened close-on-exec, so that neither the engines nor the programs they debug (nor
// any shell we run) inherit it. A path that cannot be opened leaves a stream that accepts
// everything and writes nothing. Text is written when the stream is flushed, and at the end.
class LogFile : public std::ostream {
 public:
  class FdBuffer : public std::streambuf {
   public:
    FdBuffer();
    ~FdBuffer() override;
    FdBuffer(const FdBuffer&) = delete;
    FdBuffer& operator=(const FdBuffer&) = delete;
    void open(const std::string& path);

   protected:
    int overflow(int c) override;
    int sync() override;

   private:
    int fd = -1;
    char pending[4096];
  };

  LogFile();
  void open(const std::string& path) { buffer.open(path); }

 private:
  FdBuffer buffer;
};

// Both candidate log streams; the one that chooseLogStream returns lives as long as this object.
struct LogStreams {
  QuietStream quiet;
  LogFile file;
};

// The log named by WEM_LOG (read once for the life of the process), or the quiet stream when it is
// unset or empty. A path that cannot be opened gives a stream that silently writes nothing.
std::ostream& chooseLogStream(LogStreams& streams);
// The same choice for an explicit path: empty means no log.
std::ostream& chooseLogStream(LogStreams& streams, const std::string& path);

// One log record: "<number>: <pieces>\n", flushed when the temporary dies at the end of the
// writing statement. blank() asks for one empty line after the record.
class LogRecord {
 public:
  LogRecord(std::ostream& out, int number) : out(out) { out << number << ": "; }
  LogRecord(const LogRecord&) = delete;
  LogRecord& operator=(const LogRecord&) = delete;
  ~LogRecord() {
    out << (blank_ ? "\n\n" : "\n");
    out.flush();
  }

  LogRecord& blank() {
    blank_ = true;
    return *this;
  }
  template <typename T>
  LogRecord& operator<<(const T& piece) {
    out << piece;
    return *this;
  }

 private:
  std::ostream& out;
  bool blank_ = false;
};

// The number of a record is the line of the statement that writes it, so each writer is found by
// its number. LOG_TO takes the stream; LOG_AT takes anything with a `log` stream member (the
// controller). The _BLANK forms add the empty line after the record:
//   LOG_AT(ctrl) << "Removing " << id;          LOG_BLANK_AT(ctrl) << "Removed " << id;
#define LOG_TO(stream) LogRecord((stream), __LINE__)
#define LOG_BLANK_TO(stream) LogRecord((stream), __LINE__).blank()
#define LOG_AT(ctrl) LOG_TO((ctrl).log)
#define LOG_BLANK_AT(ctrl) LOG_BLANK_TO((ctrl).log)
