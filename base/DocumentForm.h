#pragma once

#include "ReportBaseExport.h"

#include <QByteArray>
#include <QString>

namespace REPORTGENERATOR {

/// @brief The forms a whole settings document takes in a file or a byte array.
///
/// One enumeration for every program that opens a document: IRGObject::EditFile(), the
/// KVT317XML document functions (SettingsFile.h), the item model, the editor and the kvt317
/// tool all tell the forms apart with DetectDocumentForm() and name them with
/// DocumentFormName().
enum class DocumentForm {
    Xml,       ///< XML text, UTF-8 or UTF-16
    Json,      ///< the JSON form (KVT317XML::ReadJsonDocument(), SettingsJson.h)
    Binary,    ///< the tagged binary frame
    Compressed ///< the compressed binary frame ("KVTZ" and deflated data)
};

/// The character encoding of a text form (XML, JSON).
enum class TextEncoding {
    Utf8,              ///< UTF-8, the encoding every writer uses unless told otherwise
    Utf16LittleEndian, ///< UTF-16, least significant byte first
    Utf16BigEndian     ///< UTF-16, most significant byte first
};

/// What DetectDocumentForm() found: the form and, for a text form, its encoding and whether
/// the text starts with a byte-order mark. Writing a document back with the same three keeps
/// its form and encoding as they were.
struct REPORTBASE_EXPORT DetectedForm {
    DocumentForm form = DocumentForm::Xml;      ///< the document's form
    TextEncoding encoding = TextEncoding::Utf8; ///< the text's encoding (binary forms: Utf8)
    bool byteOrderMark = false;                 ///< whether the text starts with one

    /// Same form, encoding and mark.
    bool operator==(const DetectedForm& other) const
    {
        return form == other.form && encoding == other.encoding &&
               byteOrderMark == other.byteOrderMark;
    }
    /// Another form, encoding or mark.
    bool operator!=(const DetectedForm& other) const { return !(*this == other); }
};

/// @brief The form of a document by its first bytes.
///
/// A byte-order mark of UTF-16 (FF FE, FE FF) or UTF-8 (EF BB BF) marks a text; without one,
/// UTF-16 is told by the zero byte beside the first character ("<\0" little-endian, "\0<"
/// big-endian). After blanks, '<' is XML and '{' or '[' JSON. "KVTZ" leads a compressed
/// binary frame; anything else is taken for a plain binary frame, which the binary reader
/// then accepts or refuses with its reason.
REPORTBASE_EXPORT DetectedForm DetectDocumentForm(const QByteArray& bytes);

/// "XML", "JSON", "binary", "compressed binary".
REPORTBASE_EXPORT QString DocumentFormName(DocumentForm form);

/// The form an option names: "xml", "json", "binary" or "bin", "compressed" or "binz".
/// False, leaving @p form as it was, for any other text.
REPORTBASE_EXPORT bool DocumentFormFromName(const QString& name, DocumentForm& form);

/// The form a file's name ending stands for: ".xml", ".json", ".bin", ".binz", in any case.
/// False, leaving @p form as it was, for any other name.
REPORTBASE_EXPORT bool DocumentFormFromFileName(const QString& path, DocumentForm& form);

/// "UTF-8", "UTF-16LE", "UTF-16BE".
REPORTBASE_EXPORT QString TextEncodingName(TextEncoding encoding);

/// The text of a document in a text form, decoded as @p detected says, without its
/// byte-order mark. A UTF-8 byte that is not part of valid UTF-8 is read as U+FFFD.
REPORTBASE_EXPORT QString DecodeDocumentText(const QByteArray& bytes, const DetectedForm& detected);

/// The bytes of a text document in @p encoding, led by a byte-order mark when
/// @p byteOrderMark. The XML declaration, where the text starts with one that names an
/// encoding, is made to name the one written ("UTF-8", "UTF-16").
REPORTBASE_EXPORT QByteArray EncodeDocumentText(const QString& text, TextEncoding encoding,
                                                bool byteOrderMark);

} // namespace REPORTGENERATOR
