// CXML: a document, a tree of nodes. A node has a flat table of named values and an ordered list of child
// nodes. There is no XML in it and no path syntax: a key is one name in the table of one node.
//
// Every value is stored as a string; the typed accessors convert. Keys and names ignore case. An absent key
// is not an error: each getter has a default. Nodes are shared objects; a child does not know its parent and
// may be in several lists. No operation recurses, so only memory limits the depth of a tree.
//
// The byte form of a document is the Kbdb format (docs/kbdb.md):
//
//   "Kbdb"  "A"  byte order "L" or "B"  two bytes unused  entries  "E"
//   an entry: "V" key length (4) key  value length (4) value
//         or: "O" name length (4) name  the child as a whole document
#pragma once

#include "document/OneBasedArray.hpp"
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

    OneBasedArray<Ref<CXML>> Containers; // element 0 is a placeholder and nil; the children start at 1
    Ref<Dictionary> Values;
    OneBasedArray<String> ValueBuffer; // element 0 is a placeholder
    String Name;                       // under which the parent finds this node; empty for a root
    bool IsPlistDEP = false;
    Ref<Object> RootPlistDictionaryDEP;
    String LastArrayName;

    // Values. Both forms of GetStringValue decode a wrapped string. They differ in how they cut it (by bytes
    // or by characters) and in the encoding tag of the result, and existing documents need both.
    virtual String GetStringValue(const String& key) const;
    virtual String GetStringValue(const String& key, const String& fallback) const;
    // The numeric getters return the number at the start of the stored text, or 0 if it has none.
    virtual Integer GetIntegerValue(const String& key) const { return GetIntegerValue(key, 0); }
    virtual Integer GetIntegerValue(const String& key, Integer fallback) const;
    virtual double GetDoubleValue(const String& key) const { return GetDoubleValue(key, 0.0); }
    virtual double GetDoubleValue(const String& key, double fallback) const;
    virtual std::uint64_t GetUInt64Value(const String& key) const { return GetUInt64Value(key, 0); }
    virtual std::uint64_t GetUInt64Value(const String& key, std::uint64_t fallback) const;
    // Returns true only for the text "true", in capitals or small letters.
    virtual bool GetBooleanValue(const String& key) const { return getBooleanValue(key, false); }
    virtual bool getBooleanValue(const String& key, bool fallback) const;
    virtual std::optional<Date> getDate(const String& key) const;
    virtual std::optional<Date> getDate(const String& key, const std::optional<Date>& fallback) const;
    virtual Color GetColorValue(const String& key) const { return GetColorValue(key, Color{}); }
    virtual Color GetColorValue(const String& key, const Color& fallback) const;
    virtual String GetBinaryData(const String& key) const;
    virtual Ref<FolderItem> GetFile(const String& key) const;
    virtual void SetStringValue(const String& key, const String& value);
    virtual void SetIntegervalue(const String& key, Integer value); // (sic)
    // Stores at most ten fractional digits.
    virtual void SetDoubleValue(const String& key, double value);
    virtual void SetBooleanValue(const String& key, bool value);
    // No date removes the key.
    virtual void SetDate(const String& key, const std::optional<Date>& value);
    // Does not store alpha.
    virtual void SetColorValue(const String& key, const Color& value);
    virtual void SetBinaryValue(const String& key, const String& bytes);
    // Stores the text as Base64 after a marker (a wrapped string). It is not encrypted.
    virtual void setEncryptedStringValue(const String& key, const String& value);
    // No file removes the key.
    virtual void SetFile(const String& key, const Ref<FolderItem>& file);
    virtual bool ObjectExists(const String& key) const;
    virtual void removeObject(const String& key);
    virtual Integer GetKeyCount() const { return Values->Count(); }
    virtual String GetKeyByIndex(Integer index) const;
    virtual void DeleteObjects();
    // Copies the values of another node, decoded, but not its children and name.
    virtual void InsertValues(const Ref<CXML>& other);

    // Children. Children with the same name form an array, counted from 1 in the order of insertion.
    virtual void InsertContainer(const Ref<CXML>& child);
    virtual Integer GetContainerCount(const String& name) const;
    // Returns nil if there is none. Index 0 returns the first child if that has another name.
    virtual Ref<CXML> GetContainer(const String& name, Integer index) const;
    virtual void ReplaceContainer(const String& name, Integer index, const Ref<CXML>& replacement);
    virtual void removeContainer(const String& name, Integer index);
    virtual void removeContainer(const Ref<CXML>& child);
    // Returns all children with a name, in one pass.
    std::vector<Ref<CXML>> containersNamed(const String& name) const;
    // Replaces every child by nil, here and in all nodes below.
    virtual void Release();
    // Returns a deep copy.
    virtual Ref<CXML> Clone() const;
    virtual void CopyInto() {}

    // The byte form. Loading adds to the existing content. A wrong magic or version, at any level, raises
    // RuntimeException; the node keeps what was read before. An incomplete document is not an error.
    virtual void SaveToBinaryData(const Ref<BinaryStream>& stream) const;
    virtual void LoadFromBinaryStream(const Ref<BinaryStream>& stream);
    virtual Ref<MemoryBlock> NewBinaryBlock(Integer size, const String& byteOrder) const;
    virtual void MergeArrays(std::vector<Ref<MemoryBlock>>& destination,
                             const std::vector<Ref<MemoryBlock>>& source) const;
    virtual Integer SizeOfArray(const std::vector<Ref<MemoryBlock>>& blocks) const;

    // The byte form in a string. Text that does not begin with the magic is ignored.
    virtual String SaveToString() const;
    virtual void loadFromString(const String& text);
    // Replaces underscores by blanks.
    virtual String DecodeXMLString(const String& text) const;
    virtual String SaveToPlistStringDEP() const { return {}; }
    virtual void SaveToPlistDEP(const Ref<CXML>&) const {}

    // The byte form in a file. An existing file is replaced only by a complete file on the disk, which gets
    // its owner and permissions as far as this user may set them. A symbolic link stays, and its target is
    // created or replaced. Returns false if the exchange failed, as it does for all but regular files. Raises
    // RuntimeException if the new file cannot be created or written. A second log line names the file and the
    // reason.
    virtual bool SaveToFile(const Ref<FolderItem>& target) const;
    // Logs failures and keeps what was read before. The second argument is ignored.
    virtual void loadFromFile(const Ref<FolderItem>& file, const Ref<CXML>& unused);

    // Readable texts: an indented dump of the tree, and the values of this node in the log.
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
