#include "tests/foundation/string_walk.h"

#include <gtest/gtest.h>

#include <cctype>
#include <utility>

#include "ztk/stream/data_stream.h"
#include "ztk/stream/memory_stream.h"

// The operations of a walk.

/// A writable place: it, or what writes through it, is kept.
void StringWalk::HandOut(StringSlot& slot) {
  ZTKString& text = *slot.text;
  const unsigned long length = slot.model.Len();
  if (length == 0) {
    text[Below(4)] = '\0';  // The character that all strings share.
    text.Last() = '\0';
    return;
  }
  const unsigned long at = Below(length);
  switch (Below(3)) {
    case 0:
      return Keep(slot, &text[at]);
    case 1:
      return Keep(slot, &text.Last());
    default: {
      // Pointers that came from nowhere else: the call itself hands one out.
      char* const start = const_cast<char*>(text.c_str());
      const unsigned long end = at + Below(length - at + 1);
      char* const result = text.erase(start + at, start + end);
      ASSERT_EQ(result, start + at);
      slot.model.Erase(at, end - at);
      return Keep(slot, result);
    }
  }
}

/// Moving and swapping: what was handed out goes with its block.
void StringWalk::Exchange(StringSlot& slot, StringSlot& other) {
  const bool isSelf = &slot == &other;
  const bool areOwned =
      !ZTKStringBlocks::IsBorrowed(*slot.text) && !ZTKStringBlocks::IsBorrowed(*other.text);
  const char* const blocks[] = {slot.text->c_str(), other.text->c_str()};
  const unsigned long kind = Below(4);
  m_operation = 200 + kind;
  if (kind == 0) {
    *slot.text = std::move(*other.text);
    if (!isSelf) {
      slot.model.Assign(other.model.Text());
      other.model.Clear();
    }
  } else {
    if (kind == 1) {
      slot.text->swap(*other.text);
    } else if (kind == 2) {
      using std::swap;
      swap(*slot.text, *other.text);
    } else {
      ZTKString third(std::move(*slot.text));
      EXPECT_TRUE(Std(*slot.text).empty());
      EXPECT_EQ(slot.text->AllocatedSize(), 0u);
      slot.text->swap(*other.text);
      other.text->swap(third);
    }
    if (!isSelf) std::swap(slot.model, other.model);
  }
  if (!areOwned) {
    // The text is what counts: which of the sizes go along depends on where the texts lay.
    EXPECT_EQ(Std(*slot.text), slot.model.Text());
    EXPECT_EQ(Std(*other.text), other.model.Text());
    Resync(slot);
    Resync(other);
  }
  if (isSelf) return;
  // Sorted by the block that they point into.
  std::vector<char*> kept[2];
  for (const StringSlot* from : {&slot, &other}) {
    const size_t was = from == &slot ? 0 : 1;
    for (char* p : from->kept) {
      if (slot.text->c_str() == blocks[was]) kept[0].push_back(p);
      if (other.text->c_str() == blocks[was]) kept[1].push_back(p);
    }
  }
  slot.kept = kept[0];
  other.kept = kept[1];
  m_swapped = &other;
}

/// Operations after which the string has another block as a rule.
void StringWalk::ChangeStorage(StringSlot& slot, const std::string& value) {
  ZTKString& text = *slot.text;
  LiteralString& model = slot.model;
  m_operation = 100 + Below(8);
  switch (m_operation - 100) {
    case 0: {
      const unsigned long n = Below(100);
      Do([&] { return text.Alloc(n); });
      return model.Alloc(n);
    }
    case 1: {
      const unsigned long n = Below(100);
      Do([&] { return text.AllocBuffer(n); });
      return model.AllocBuffer(n);
    }
    case 2:
      text.Clear();
      return model.Clear();
    case 3: {
      // As many bytes as asked for, NULs included.
      std::string bytes = value;
      if (!bytes.empty()) bytes[Below(bytes.size())] = '\0';
      Do([&] { text.InitWith(bytes.data(), 0, LiteralString::Count(bytes)); });
      return model.InitWith(bytes);
    }
    case 4:
      Do([&] { text.InitWith(value.c_str(), 0, kHuge); });
      return model.InitWith(value);
    case 5: {
      const std::string old = model.Text();
      const std::string formatted =
          value + std::string(1, Below(4) == 0 ? '\0' : '-') + old + std::string(Below(2), '!');
      const int mark = static_cast<unsigned char>(formatted[value.size()]);
      const char* const end = formatted.size() == value.size() + 1 + old.size() ? "" : "!";
      Do([&] { return text.Printf("%s%c%s%s", value.c_str(), mark, text.c_str(), end); });
      return model.Printf(formatted);
    }
    case 6: {
      // Written by a stream, straight into the block.
      std::string bytes = value;
      if (!bytes.empty() && Below(2) != 0) bytes[Below(bytes.size())] = '\0';
      ZTKMemoryOutputStream out;
      ZTKDataStream writer(out);
      writer << static_cast<unsigned int>(bytes.size());
      out.Write(bytes.data(), LiteralString::Count(bytes));
      std::vector<char> written(out.GetSize());
      out.CopyTo(written.data(), out.GetSize());
      ZTKMemoryInputStream in(written.data(), static_cast<unsigned long>(written.size()));
      ZTKDataStream reader(in);
      Do([&] { reader >> text; });
      return model.Assign(std::string(bytes.c_str()));
    }
    default:
      Do([&] { return text.Shrink(); });
      return model.Shrink();
  }
}

void StringWalk::Change(StringSlot& slot) {
  ZTKString& text = *slot.text;
  LiteralString& model = slot.model;
  if (model.Len() > 6000) {
    text.Empty();
    return model.Empty();
  }
  // An argument, at times a part of the string itself.
  std::string value = Text();
  const char* argument = value.c_str();
  if (Below(8) == 0 && model.hasBlock) {
    const unsigned long at = Below(model.Len() + 1);
    value = model.Text().substr(at);
    argument = text.c_str() + at;
  }
  StringSlot& other = m_slots[Below(m_slots.size())];
  switch (m_operation = Below(24)) {
    case 0:
      Do([&] { text.append(argument); });
      return model.Append(value);
    case 1: {
      const char ch = Below(6) == 0 ? '\0' : Character();
      Do([&] { text += ch; });
      return model.Append(std::string(1, ch));
    }
    case 2: {
      const char ch = Below(6) == 0 ? '\0' : Character();
      const unsigned long count = Below(40);
      Do([&] { text.append(ch, count); });
      return model.Append(std::string(count, ch));
    }
    case 3: {
      const unsigned long length = Number(slot), most = Number(slot);
      Do([&] { return text.ConcatSelf(length, argument, most); });
      return model.Append(value.substr(0, std::min(length, most)));
    }
    case 4:
      Do([&] { text << *other.text; });
      return model.Append(other.model.Text());
    case 5:
      Do([&] { text << -12345; });
      return model.Append("-12345");
    case 6:
      Do([&] { text = argument; });
      return model.Assign(value);
    case 7:
      Do([&] { text = *other.text; });
      return model.Assign(other.model.Text());
    case 8:
      Do([&] { text = ZTKString(argument); });
      return m_failed ? void() : model.Assign(value);
    case 9:
      Do([&] { text = 'c'; });
      return model.AssignCharacter('c');
    case 10:
      text.Empty();
      return model.Empty();
    case 11: {
      const unsigned long n = Number(slot);
      text.Truncate(n);
      return model.Truncate(n);
    }
    case 12: {
      const unsigned long at = Number(slot), n = Number(slot);
      text.erase(at, n);
      return model.Erase(at, n);
    }
    case 13: {
      const bool fromRight = Below(2) != 0;
      text.Trim(fromRight);
      return model.Trim(fromRight);
    }
    case 14:
      text.TrimA();
      model.Trim(true);
      return model.Trim(false);
    case 15:
      text.MakeUpper();
      return model.ChangeCase([](int ch) { return std::toupper(ch); });
    case 16: {
      const std::string wanted = model.Text().substr(Below(model.Len() + 1), 1 + Below(3));
      const std::string put = Below(3) == 0 ? value : Text().substr(0, Below(4));
      const char* const own = Below(2) != 0 ? put.c_str() : argument;
      const bool all = Below(2) != 0;
      const unsigned long count = Do([&] { return text.Replace(wanted.c_str(), own, all); });
      const unsigned long expected = model.Replace(wanted, own == argument ? value : put, all);
      if (!m_failed) {
        ASSERT_EQ(count, expected);
      }
      return;
    }
    case 17:
    case 18:
      return HandOut(slot);
    case 19:
      return Exchange(slot, other);
    case 20:
      Do([&] { text = text.Mid(1); });
      return m_failed ? void() : model.Assign(model.Text().substr(model.Len() != 0));
    default:
      return ChangeStorage(slot, value);
  }
}
