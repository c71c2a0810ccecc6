-- Wireshark dissector for the host link of hearthix-mysensors (docs/host-link.md): the packets between the driver and
-- its host, on one TCP port, which is a preference.
local hearthix = Proto("hearthix", "Hearthix host link")
hearthix.prefs.port = Pref.uint("TCP port", 20300, "The port on which the host listens")

local opening = "MYSENSORS:"
local types = { X = "message", Y = "message", N = "pan and tilt message", M = "message with a reading", E = "error",
                L = "log line", J = "multipacket" }
local f = hearthix.fields
f.opening = ProtoField.string("hearthix.id", "Connection ID")
f.type = ProtoField.string("hearthix.type", "Type")
f.length = ProtoField.uint16("hearthix.length", "Length")
f.flags = ProtoField.uint8("hearthix.flags", "Flags", base.HEX)
f.level = ProtoField.uint8("hearthix.log.level", "Log level")
f.text = ProtoField.string("hearthix.log.text", "Text", base.UNICODE)
f.command = ProtoField.string("hearthix.command", "Command")
f.address = ProtoField.bytes("hearthix.address", "Address")
f.rest = ProtoField.bytes("hearthix.rest", "Level, parameters, data")
f.key = ProtoField.string("hearthix.key", "Key")
f.size = ProtoField.uint16("hearthix.value.length", "Length of the value")
f.value = ProtoField.bytes("hearthix.value", "Value")
f.shown = ProtoField.string("hearthix.value.text", "Value", base.UNICODE)
local wrong = ProtoExpert.new("hearthix.wrong", "Wrong length", expert.group.MALFORMED, expert.severity.ERROR)
hearthix.experts = { wrong }

local function isMulti(buffer, at) return buffer(at, 1):string():upper() == "J" end

-- Adds the entries of a multipacket to the tree; returns the summary of the packet.
local function entries(packet, tree)
    local little, at, summary = packet(3, 1):uint() >= 128, 4, {}
    while at < packet:len() do
        if packet:len() - at < 6 then
            tree:add_proto_expert_info(wrong, "An entry is cut off")
            break
        end
        local size = little and packet(at + 4, 2):le_uint() or packet(at + 4, 2):uint()
        local present = math.min(size, packet:len() - at - 6)
        local key = packet(at, 4):string()
        local entry = tree:add(hearthix, packet(at, 6 + present), key)
        entry:add(f.key, packet(at, 4))
        if little then entry:add_le(f.size, packet(at + 4, 2)) else entry:add(f.size, packet(at + 4, 2)) end
        if size > present then entry:add_proto_expert_info(wrong, "The value ends after the packet") end
        if present > 0 then
            local value = packet(at + 6, present)
            local isText = key:lower() ~= "data" or value:bytes():tohex():sub(1, 8) ~= "4B626462"
            if isText then entry:add_packet_field(f.shown, value, ENC_UTF_8) else entry:add(f.value, value) end
            local text = isText and value:string(ENC_UTF_8) or "document of " .. present .. " bytes"
            entry:append_text(": " .. text)
            table.insert(summary, (key:lower() == "mcmd" and 1 or #summary + 1), text)
        end
        at = at + 6 + present
    end
    return table.concat(summary, " ")
end

local function logLine(packet, tree)
    if packet:len() < 3 then return "log line" end
    tree:add(f.level, packet(2, 1))
    if packet:len() == 3 then return "log line" end
    tree:add_packet_field(f.text, packet(3), ENC_UTF_8)
    return "log: " .. packet(3):string(ENC_UTF_8)
end

local function common(packet, tree)
    if packet:len() < 16 then
        tree:add_proto_expert_info(wrong, "A common message has at least 16 bytes")
        return "message"
    end
    tree:add(f.flags, packet(6, 1))
    tree:add(f.command, packet(8, 1))
    tree:add(f.address, packet(9, 2))
    tree:add(f.rest, packet(11))
    return "command " .. packet(8, 1):string()
end

-- Whether the received bytes are the start of the opening line. No packet begins with these two letters.
local function isOpening(buffer, at)
    local count = math.min(buffer:len() - at, #opening)
    return count > 1 and buffer(at, count):string() == opening:sub(1, count)
end

-- The length of the packet or line that begins here; nil while too few bytes have arrived to determine it.
local function lengthAt(buffer, at)
    if isOpening(buffer, at) then
        for i = at + 1, buffer:len() - 1 do
            if buffer(i, 1):uint() == 13 then return i + 1 - at end
        end
        return nil
    end
    local multi = isMulti(buffer, at)
    if buffer:len() - at < (multi and 3 or 2) then return nil end
    return multi and buffer(at + 1, 2):le_uint() or buffer(at + 1, 1):uint()
end

local function dissectPacket(packet, tree)
    local letter = packet(0, 1):string():upper()
    if isOpening(packet, 0) then
        if packet:len() > #opening + 1 then tree:add(f.opening, packet(#opening, packet:len() - #opening - 1)) end
        return packet(0, packet:len() - 1):string()
    end
    tree:add(f.type, packet(0, 1)):append_text(" (" .. (types[letter] or "unknown") .. ")")
    if letter == "J" then
        tree:add_le(f.length, packet(1, 2))
        tree:add(f.flags, packet(3, 1))
        return entries(packet, tree)
    end
    tree:add(f.length, packet(1, 1))
    return letter == "L" and logLine(packet, tree) or common(packet, tree)
end

function hearthix.dissector(buffer, pinfo, root)
    local at, summaries = 0, {}
    pinfo.cols.protocol = "Hearthix"
    while at < buffer:len() do
        local length = lengthAt(buffer, at)
        local least = isMulti(buffer, at) and 4 or 2
        if length and length < least then
            root:add(hearthix, buffer(at)):add_proto_expert_info(wrong, "A length of " .. length)
            table.insert(summaries, "wrong length")
            break
        end
        if not length or buffer:len() - at < length then
            pinfo.desegment_offset = at
            pinfo.desegment_len = length and length - (buffer:len() - at) or DESEGMENT_ONE_MORE_SEGMENT
            break
        end
        local packet = buffer(at, length):tvb()
        local tree = root:add(hearthix, buffer(at, length))
        local summary = dissectPacket(packet, tree)
        tree:append_text(", " .. summary)
        table.insert(summaries, summary)
        at = at + length
    end
    -- Wireshark passes a reassembled packet and the packets after it in two calls, and joins their summaries.
    if #summaries > 0 then pinfo.cols.info = "[" .. table.concat(summaries, "][") .. "]" end
    return buffer:len()
end

local ports, current = DissectorTable.get("tcp.port"), hearthix.prefs.port
ports:add(current, hearthix)
function hearthix.prefs_changed()
    ports:remove(current, hearthix)
    current = hearthix.prefs.port
    ports:add(current, hearthix)
end
