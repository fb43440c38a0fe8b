// The byte string of the message document library: text without NUL bytes, with searching, editing,
// delimiter-separated fields and fixed-width numbers. It owns its text; one object belongs to one thread at a
// time. Positions are 0-based; a search that finds nothing returns -1. A null `const char*` counts as the
// empty text. Text given with a NUL byte inside ends there. Numbers are written and read with "." whatever
// the locale.
#pragma once

#include <string>
#include <string_view>

class CMabString {
  public:
    static const CMabString m_csNAN;   // "NaN"
    static const CMabString m_csNINF;  // "-Inf"
    static const CMabString m_csPINF;  // "+Inf"

    CMabString() = default;
    CMabString(const char* text);
    CMabString(const char* text, int n);  // the first n bytes
    CMabString(char c, int n);            // c repeated n times
    CMabString(const std::string& text);
    CMabString(std::string&& text);
    explicit CMabString(std::string_view text);
    CMabString(const CMabString& other);
    CMabString(CMabString&& other) noexcept;
    virtual ~CMabString() = default;

    CMabString& operator=(const char* text);
    CMabString& operator=(const CMabString& other);
    CMabString& operator=(CMabString&& other) noexcept;
    // Numbers are written eight bytes wide: 5 gives seven blanks and "5".
    CMabString& operator=(int value) { return *this = static_cast<long>(value); }
    CMabString& operator=(long value);
    CMabString& operator=(float value) { return *this = static_cast<double>(value); }
    CMabString& operator=(double value);
    CMabString& operator+=(char c);
    CMabString& operator+=(const char* text);
    CMabString& operator+=(const CMabString& other);

    // Always NUL-terminated; valid until the next change of the text.
    const char* c_str() const { return m_text.c_str(); }
    std::string_view view() const { return m_text; }

    int GetLength() const { return static_cast<int>(m_text.size()); }
    bool IsEmpty() const { return m_text.empty(); }
    void Empty() { m_text.clear(); }
    // Unchecked: the position must be from 0 to the length (where the NUL stands).
    char operator[](int position) const { return m_text[static_cast<size_t>(position)]; }
    char GetAt(int position) const { return m_text[static_cast<size_t>(position)]; }
    // Unchecked: the position must be from 0 to the length less one. A NUL ends the text there.
    void SetAt(int position, char c);

    // Exposes at least n writable bytes; until ReleaseBuffer only this buffer may be used.
    char* GetBuffer(int n);
    // Ends the text after n bytes, or at its first NUL when n is -1.
    void ReleaseBuffer(int n = -1);
    void AllocString(int n);    // empty text with room for n bytes
    void ReAllocString(int n);  // keeps the first n bytes, room for n

    void ConcatCopy(const char* text);
    void ConcatCopy(char c);
    void ConcatCopy2(const char* text, int n);  // appends the first n bytes
    void ConcatCopy(const char* first, const char* second);
    void StringCopy(int n, const char* text);  // the text becomes the first n bytes
    // dest becomes `count` bytes of this text from `first` on, with room for `spare` bytes more.
    void StringCopy(CMabString& dest, int count, int first, int spare) const;

    int Find(char c, int start = 0) const;
    int Find(const char* text, int start = 0) const;
    int FindNoCase(char c, int start = 0) const;
    int FindNoCase(const char* text, int start = 0) const;
    // The last match that begins at `start` or behind it; -1 searches the whole text.
    int ReverseFind(char c) const;
    int ReverseFind(const char* text, int start = -1) const;
    int ReverseFindNoCase(char c, int start = -1) const;
    int ReverseFindNoCase(const char* text, int start = -1) const;
    int FindOneOf(const char* set) const;
    CMabString SpanIncluding(const char* set) const;
    CMabString SpanExcluding(const char* set) const;

    // As strcmp; the forms without case compare after tolower.
    int Compare(const char* other) const;
    int Compare(const CMabString& other) const { return Compare(other.c_str()); }
    int CompareNoCase(const char* other) const { return tcsicmp(c_str(), other); }
    int CompareNoCase(const CMabString& other) const { return tcsicmp(c_str(), other.c_str()); }
    int Collate(const char* other) const;
    int Collate(const CMabString& other) const { return Collate(other.c_str()); }
    int CollateNoCase(const char* other) const { return tcsicoll(c_str(), other); }
    int CollateNoCase(const CMabString& other) const { return tcsicoll(c_str(), other.c_str()); }
    static int tcsicmp(const char* a, const char* b);
    static int tcsicoll(const char* a, const char* b);

    void MakeUpper();
    void MakeLower();
    void MakeReverse();
    // Counts below 0 count as 0, counts past the end are cut; a first position past the end gives an empty
    // text.
    CMabString Left(int n) const { return Mid(0, n); }
    CMabString Right(int n) const;
    CMabString Mid(int first) const;
    CMabString Mid(int first, int n) const;
    // Positions outside the text are moved to its nearer end.
    void Insert(int position, char c);
    void Insert(int position, const char* text);
    void Delete(int first, int n = 1) { Replace(first, n, ""); }
    void Remove(char c);
    void Replace(char from, char to);
    void Replace(const char* from, const char* to) { FindReplace(from, to, true); }
    void Replace(int first, int n, const char* text);
    void FindReplace(const char* find, const char* replacement, bool all = true);
    void FindReplaceNoCase(const char* find, const char* replacement, bool all = true);
    void Trim();
    void TrimLeft();
    void TrimRight();
    void NoControlChar();  // bytes below 32 or above 127 become blanks
    void NoDoubleSpace();
    void Fill(int n, char c);
    // printf under the current locale, of any length; the text itself may be an argument.
    void Format(const char* format, ...) __attribute__((format(printf, 2, 3)));

    // Only the first 32 bytes are read; 0 when there is no number.
    int GetInt() const { return static_cast<int>(GetLong()); }
    long GetLong() const;
    // These repair the exponent first (TestExp), which changes the text.
    double GetDouble();
    float GetFloat() { return static_cast<float>(GetDouble()); }
    // True only when the text begins with "." / unless the text begins with ".": callers rely on just that.
    bool IsInt() const;
    bool IsFloat() const;
    void TestExp();  // "1.5-3" becomes "1.5E-3"
    static int atoin(const char* text, int n);

    int GetFieldCount(char delimiter) const;
    int GetFieldCount(const char* delimiter) const;
    // The cursor stands at the start of a newly assigned text. It never passes the length that the text had
    // when it was last assigned as a whole: what was appended since is not stepped to.
    CMabString FirstField(char delimiter);
    CMabString StepField(char delimiter) { return FirstField(delimiter); }
    CMabString NextField(char delimiter);
    CMabString GetField(char delimiter, int n) const;
    CMabString GetField(const char* delimiter, int n) const;
    // Between the n-th `open` and the next `close`. Skipping an `open` steps on by the length of `close`.
    CMabString GetDelimitedField(const char* open, const char* close, int n = 0) const;

    // Right-aligned, higher digits dropped; "Error" when a minus sign finds no room.
    void PutInt(int value, int width) { PutLong(value, width); }
    void PutLong(long value, int width);
    // Fixed width; a width below 4 leaves the text empty and sets the library's status (xml.h).
    void PutDouble(double value, int width, char exponent);
    void PutFloat(float value, int width, char exponent) { PutDouble(value, width, exponent); }
    // Significant digits.
    void PutDoubleS(double value, int digits, char exponent);
    void PutFloatS(float value, int digits, char exponent) { PutDoubleS(value, digits, exponent); }
    void Accuracy(int digits, char stop);  // digits behind the first `digits` ones become "0"
    void UsCur();                          // "1234.5" becomes "1234.50"; zero and less become empty

  private:
    void assign(std::string_view text);
    bool put_special(double value);
    void put_exponent(double value, int width);

    std::string m_text;  // holds no NUL byte
    int m_cursor = 0;    // where NextField goes on; -1 after the last field
    int m_size = 0;      // length at the last whole assignment
};

CMabString operator+(const CMabString& a, const CMabString& b);
CMabString operator+(const CMabString& a, const char* b);
CMabString operator+(const char* a, const CMabString& b);
