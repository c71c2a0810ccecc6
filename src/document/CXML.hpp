// CXML: a document. A node holds a flat table of named values and an ordered list of child nodes; there is no
// XML in it, and no path syntax: a key is one name in one node's table.
//
// Every value is kept as a string, and the typed accessors convert to and from it. Keys and names ignore
// case. An absent key is no error: each getter has its default. Nodes are shared objects; a child knows no
// parent and may be in several lists. No operation recurses: a tree may be as deep as memory allows.
//
// The byte form of a document is the Kbdb format (docs/kbdb.md):
//
//   "Kbdb"  "A"  byte order "L" or "B"  two bytes unused  entries  "E"
//   an entry: "V" key length (4) key  value length (4) value
//         or: "O" name length (4) name  the child as a whole document
#pragma once

#include "runtime/core/Array.hpp"
#include "runtime/core/Object.hpp"
#include "runtime/files/BinaryStream.hpp"
#include "runtime/files/FolderItem.hpp"
#include "runtime/files/MemoryBlock.hpp"
#include "runtime/text/String.hpp"
#include "runtime/values/Color.hpp"
#include "runtime/values/Date.hpp"
#include "runtime/values/Dictionary.hpp"

#include <cstdint>
#include <optional>
#include <vector>

namespace hearthix {

class CXML : public Object {
public:
    CXML();
    ~CXML() override;

    Array<Ref<CXML>> Containers{nullptr}; // element 0 is a placeholder and nil; the children start at 1
    Ref<Dictionary> Values;
    Array<String> ValueBuffer{String()}; // element 0 is a placeholder
    String Name;                         // under which the parent finds this node; empty for a root
    bool IsPlistDEP = false;
    Ref<Object> RootPlistDictionaryDEP;
    String LastArrayName;

    // Values. The two forms of GetStringValue take the wrapping off a wrapped string, but differ in how they
    // cut it and in the tag of the result; both stay as documents in use expect them.
    virtual String GetStringValue(const String& key) const;
    virtual String GetStringValue(const String& key, const String& fallback) const;
    // The numeric getters read the number at the start of the stored text; 0 when there is none.
    virtual Integer GetIntegerValue(const String& key) const { return GetIntegerValue(key, 0); }
    virtual Integer GetIntegerValue(const String& key, Integer fallback) const;
    virtual double GetDoubleValue(const String& key) const { return GetDoubleValue(key, 0.0); }
    virtual double GetDoubleValue(const String& key, double fallback) const;
    virtual std::uint64_t GetUInt64Value(const String& key) const { return GetUInt64Value(key, 0); }
    virtual std::uint64_t GetUInt64Value(const String& key, std::uint64_t fallback) const;
    // True for the text "true" in any case alone.
    virtual bool GetBooleanValue(const String& key) const { return getBooleanValue(key, false); }
    virtual bool getBooleanValue(const String& key, bool fallback) const;
    virtual std::optional<Date> getDate(const String& key) const;
    virtual std::optional<Date> getDate(const String& key, const std::optional<Date>& fallback) const;
    virtual Color GetColorValue(const String& key) const { return GetColorValue(key, Color{}); }
    virtual Color GetColorValue(const String& key, const Color& fallback) const;
    virtual String GetBinaryData(const String& key) const;
    virtual Ref<FolderItem> GetFile(const String& key) const;
    virtual void SetStringValue(const String& key, const String& value);
    virtual void SetIntegervalue(const String& key, Integer value);
    // Keeps at most ten fractional digits.
    virtual void SetDoubleValue(const String& key, double value);
    virtual void SetBooleanValue(const String& key, bool value);
    // No date removes the key.
    virtual void SetDate(const String& key, const std::optional<Date>& value);
    // Alpha isn't kept.
    virtual void SetColorValue(const String& key, const Color& value);
    virtual void SetBinaryValue(const String& key, const String& bytes);
    // Wraps the text in Base64 behind a marker; no key or cipher is involved.
    virtual void setEncryptedStringValue(const String& key, const String& value);
    // No file removes the key.
    virtual void SetFile(const String& key, const Ref<FolderItem>& file);
    virtual bool ObjectExists(const String& key) const;
    virtual void removeObject(const String& key);
    virtual Integer GetKeyCount() const { return Values->Count(); }
    virtual String GetKeyByIndex(Integer index) const;
    virtual void DeleteObjects();
    // Copies the other node's values in, unwrapped; its children and name are not copied.
    virtual void InsertValues(const Ref<CXML>& other);

    // Children. Those that share a name make an array, counted from 1 in the order of insertion.
    virtual void InsertContainer(const Ref<CXML>& child);
    virtual Integer GetContainerCount(const String& name) const;
    // Nil when there is none. Index 0 yields the first child if that one has another name.
    virtual Ref<CXML> GetContainer(const String& name, Integer index) const;
    virtual void ReplaceContainer(const String& name, Integer index, const Ref<CXML>& replacement);
    virtual void removeContainer(const String& name, Integer index);
    virtual void removeContainer(const Ref<CXML>& child);
    // All children of a name, in one walk.
    std::vector<Ref<CXML>> containersNamed(const String& name) const;
    // Lets go of the children, all the way down, and leaves nil in their places.
    virtual void Release();
    // A deep copy.
    virtual Ref<CXML> Clone() const;
    virtual void CopyInto() {}

    // The byte form. Loading merges into what is there. It raises RuntimeException on a bad magic or version,
    // at any level, and keeps what it has read by then; what is cut off ends quietly.
    virtual void SaveToBinaryData(const Ref<BinaryStream>& stream) const;
    virtual void LoadFromBinaryStream(const Ref<BinaryStream>& stream);
    virtual Ref<MemoryBlock> NewBinaryBlock(Integer size, const String& byteOrder) const;
    virtual void MergeArrays(std::vector<Ref<MemoryBlock>>& destination,
                             const std::vector<Ref<MemoryBlock>>& source) const;
    virtual Integer SizeOfArray(const std::vector<Ref<MemoryBlock>>& blocks) const;

    // The byte form in a string. Text that doesn't begin with the magic is ignored.
    virtual String SaveToString() const;
    virtual void loadFromString(const String& text);
    // Underscores as blanks.
    virtual String DecodeXMLString(const String& text) const;
    virtual String SaveToPlistStringDEP() const { return {}; }
    virtual void SaveToPlistDEP(const Ref<CXML>&) const {}

    // The byte form in a file. An existing file is replaced by one that is complete and on the disk, or not
    // at all; the new one has its owner and permissions, as far as this user may set them. Behind a symbolic
    // link, the file that it stands for is made or replaced, and the link stays. False when the exchange was
    // refused, as it is for all but regular files; RuntimeException when the new file can't be made or
    // filled.
    virtual bool SaveToFile(const Ref<FolderItem>& target) const;
    // Failures are logged, and what was read by then is kept. The second argument is not looked at.
    virtual void loadFromFile(const Ref<FolderItem>& file, const Ref<CXML>& unused);

    // For people: an indented dump of the tree, and this node's values in the log.
    virtual void saveToReadableString(const Ref<BinaryStream>& stream, Integer depth) const;
    virtual String getAsDebugData() const;
    virtual void DebugToLog() const;

private:
    const String* stored(const String& key) const;
    std::int64_t placeOf(const String& name, Integer index) const;
};

// The magic at the start of a document.
inline constexpr const char* kKbdbMagic = "Kbdb";

} // namespace hearthix
