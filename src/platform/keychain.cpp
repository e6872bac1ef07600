#include "platform/keychain.h"

namespace tobrel {

std::optional<std::string> SecCopyErrorMessageString(OSStatus status) {
    static constexpr struct {
        OSStatus status;
        const char* text;
    } messages[] = {
        {0, "No error."},
        {-4, "Function or operation not implemented."},
        {-34, "The disk is full."},
        {-36, "I/O error."},
        {-49, "The file is already open with write permission."},
        {-50, "One or more parameters passed to a function were not valid."},
        {-61, "Write permissions error."},
        {-108, "Failed to allocate memory."},
        {-128, "User canceled the operation."},
        {-909, "Bad parameter or invalid state for operation."},
        {-2070, "An internal error occurred."},
        {-25240, "The specified access control list is not in standard (simple) form."},
        {-25244, "You do not have permission to change the owner of this item."},
        {-25260, "Passphrase is required for import/export."},
        {-25291, "No keychain is available. You may need to restart your computer."},
        {-25292, "This keychain cannot be modified."},
        {-25293, "The user name or passphrase you entered is not correct."},
        {-25294, "The specified keychain could not be found."},
        {-25295, "The specified keychain is not a valid keychain file."},
        {-25296, "A keychain with the same name already exists."},
        {-25299, "The specified item already exists in the keychain."},
        {-25300, "The specified item could not be found in the keychain."},
        {-25301, "The buffer size is too small."},
        {-25302, "The data is too large for the particular data type."},
        {-25303, "The specified attribute does not exist."},
        {-25304, "The specified item is no longer valid. It may have been deleted from the keychain."},
        {-25305, "Unable to search the current keychain."},
        {-25307, "A default keychain could not be found."},
        {-25308, "User interaction is not allowed."},
        {-25309, "You do not have permission to modify this attribute."},
        {-25315, "User interaction is required, but is currently not allowed."},
        {-26275, "Unable to decode the provided data."},
        {-34018, "A required entitlement isn't present."},
    };
    for (const auto& message : messages)
        if (message.status == status) return message.text;
    return std::nullopt;
}

}  // namespace tobrel
