// The fixed table of result-code texts.
#ifndef KR_SRC_DIAG_ERROR_TABLE_H_
#define KR_SRC_DIAG_ERROR_TABLE_H_

namespace kr_detail {

struct ErrorText {
  int code;
  char const* text;
};

// The text of `code` in the fixed table, or null when the table lacks it.
char const* FindErrorText(int code);

}  // namespace kr_detail

#endif  // KR_SRC_DIAG_ERROR_TABLE_H_
