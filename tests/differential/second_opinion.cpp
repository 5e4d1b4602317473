#include "second_opinion.h"

#include <memory>

namespace {

struct Unref {
  void operator()(void* object) const { g_object_unref(object); }
};
template <class Object>
using Owned = std::unique_ptr<Object, Unref>;

struct Free {
  void operator()(char* text) const { g_free(text); }
};

void initialise() {
  static const bool once = [] {
    g_mime_init();
    return true;
  }();
  static_cast<void>(once);
}

std::string text_or_empty(const char* text) {
  return text != nullptr ? text : "";
}

std::string without_blanks_around(const std::string& text) {
  const size_t first = text.find_first_not_of(" \t");
  const size_t last = text.find_last_not_of(" \t\r\n");
  return first == std::string::npos || last == std::string::npos || last < first
             ? std::string()
             : text.substr(first, last + 1 - first);
}

std::string raw_field(GMimeObject* object, const char* name) {
  GMimeHeader* field = g_mime_header_list_get_header(g_mime_object_get_header_list(object), name);
  return field != nullptr ? without_blanks_around(g_mime_header_get_raw_value(field)) : "";
}

// The address of the first mailbox that is not a member of a group.
std::string first_mailbox(InternetAddressList* list) {
  const int count = list != nullptr ? internet_address_list_length(list) : 0;
  for (int i = 0; i < count; ++i) {
    InternetAddress* address = internet_address_list_get_address(list, i);
    if (!INTERNET_ADDRESS_IS_MAILBOX(address)) continue;
    return text_or_empty(internet_address_mailbox_get_addr(INTERNET_ADDRESS_MAILBOX(address)));
  }
  return {};
}

bool is_text(GMimeObject* object) {
  return g_mime_content_type_is_type(g_mime_object_get_content_type(object), "text", "*") != FALSE;
}

// GMime calls a part without a Content-Type text; the intake does not.
bool declares_text(GMimeObject* part) {
  return g_mime_object_get_header(part, "Content-Type") != nullptr && is_text(part);
}

GMimeObject* find_text(GMimeObject* root) {
  if (!GMIME_IS_MULTIPART(root)) return is_text(root) ? root : nullptr;
  GMimeMultipart* multipart = GMIME_MULTIPART(root);
  const int count = g_mime_multipart_get_count(multipart);
  for (int i = 0; i < count; ++i) {
    GMimeObject* part = g_mime_multipart_get_part(multipart, i);
    if (declares_text(part)) return part;
  }
  return nullptr;
}

std::string bytes_of(GMimeStream* stream) {
  const GByteArray* bytes = g_mime_stream_mem_get_byte_array(GMIME_STREAM_MEM(stream));
  return {reinterpret_cast<const char*>(bytes->data), bytes->len};
}

std::string encoded_content(GMimeDataWrapper* content) {
  if (content == nullptr) return {};
  GMimeStream* source = g_mime_data_wrapper_get_stream(content);
  const Owned<GMimeStream> copy(g_mime_stream_mem_new());
  g_mime_stream_reset(source);
  g_mime_stream_write_to_stream(source, copy.get());
  return bytes_of(copy.get());
}

std::string decoded_content(GMimeDataWrapper* content) {
  if (content == nullptr) return {};
  const Owned<GMimeStream> out(g_mime_stream_mem_new());
  g_mime_data_wrapper_write_to_stream(content, out.get());
  return bytes_of(out.get());
}

void read_addresses(GMimeMessage* message, SecondOpinion& opinion) {
  Reading& reading = opinion.reading;
  reading.sender = first_mailbox(g_mime_message_get_reply_to(message));
  const char* const field = reading.sender.empty() ? "From" : "Reply-To";
  if (reading.sender.empty()) reading.sender = first_mailbox(g_mime_message_get_from(message));
  reading.recipient = first_mailbox(g_mime_message_get_to(message));
  opinion.sender_field = raw_field(GMIME_OBJECT(message), field);
  opinion.recipient_field = raw_field(GMIME_OBJECT(message), "To");
}

void read_text(GMimeObject* text, SecondOpinion& opinion) {
  opinion.has_text = true;
  opinion.type_field = raw_field(text, "Content-Type");
  opinion.encoding_field = raw_field(text, "Content-Transfer-Encoding");
  const char* const charset =
      g_mime_content_type_get_parameter(g_mime_object_get_content_type(text), "charset");
  if (charset != nullptr) opinion.reading.charset = charset;
  opinion.encoding = g_mime_part_get_content_encoding(GMIME_PART(text));
  GMimeDataWrapper* content = g_mime_part_get_content(GMIME_PART(text));
  opinion.encoded_body = encoded_content(content);
  opinion.reading.body = decoded_content(content);
}

}  // namespace

SecondOpinion read_with_gmime(const std::string& message) {
  initialise();
  const Owned<GMimeStream> stream(
      g_mime_stream_mem_new_with_buffer(message.data(), message.size()));
  const Owned<GMimeParser> parser(g_mime_parser_new_with_stream(stream.get()));
  const Owned<GMimeMessage> parsed(g_mime_parser_construct_message(parser.get(), nullptr));
  SecondOpinion opinion;
  opinion.reading.charset = "US-ASCII";
  read_addresses(parsed.get(), opinion);
  opinion.reading.subject = text_or_empty(g_mime_message_get_subject(parsed.get()));
  opinion.subject.push_back({raw_field(GMIME_OBJECT(parsed.get()), "Subject"), ""});
  GMimeObject* root = g_mime_message_get_mime_part(parsed.get());
  GMimeObject* text = root != nullptr ? find_text(root) : nullptr;
  opinion.ends_in_line_end = !message.empty() && message.back() == '\n';
  opinion.is_whole_message = text != nullptr && text == root;
  if (text != nullptr) read_text(text, opinion);
  return opinion;
}

std::string gmime_decode_words(const std::string& value) {
  const std::unique_ptr<char, Free> decoded(
      g_mime_utils_header_decode_text(nullptr, value.c_str()));
  return decoded.get();
}

std::string gmime_decode_body(const std::string& text, GMimeContentEncoding encoding) {
  const Owned<GMimeStream> stream(g_mime_stream_mem_new_with_buffer(text.data(), text.size()));
  const Owned<GMimeDataWrapper> content(
      g_mime_data_wrapper_new_with_stream(stream.get(), encoding));
  return decoded_content(content.get());
}
