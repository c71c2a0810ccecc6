# Offers the words that the program's help lists, or that of the subcommand if one is given, and files.
function __hearthix_tool_words
    set -l words (commandline -opc)
    $words[1] (string match -r '^[a-z].*' -- $words[2]) --help 2>/dev/null |
        string replace -fr '^  (?:-[a-z],)?(--[a-z-]+(?= )|[a-z][a-z-]+(?=  )).*' '$1'
end
complete -c (status basename | string replace .fish '') -a '(__hearthix_tool_words)'
