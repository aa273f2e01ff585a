// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_PDB_CCLASSICALPARSERPDB_H
#define SELVANE_PDB_CCLASSICALPARSERPDB_H

#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "PDB/cPDBAtom.h"
#include "PDB/cPDBSegment.h"
#include "PDB/cPeriodicTable.h"
#include "PDB/cSequence.h"

class cTrajectory;

/// Reader of PDB and pqr files. The file is held whole in memory and read in two passes: readFile counts, so
/// that the caller can size its arrays, and parseFields fills them. The first END or ENDMDL ends the model
/// that is read.
///
/// Fields are cut out of the buffer by their offset in the line (wwPDB format, version 3.3), so a field of a
/// line too short holds what stands there, from the next line if need be; behind the end of the buffer stand
/// blanks. The functions that take a line read up to 78 characters: a line of their caller's ends with a
/// zero, which they do not read beyond.
class cClassicalParserPDB {
public:
    /// Kinds of lines, as readPDBLine returns them.
    enum LineKind : int {
        REMARK = 1,
        ATOM = 2,
        HETATM = 3,
        OTHER = 5,
        END = 6,
        NO_LINE = 7,
        TER = 10,
        MISSING_RESIDUE = 13, ///< a row of the block of missing residues
        ENDMDL = 14
    };
    /// What ends a segment.
    enum SegmentMode : int { AT_CHAIN_AND_TER = 0, AT_TER = 1, AT_ENDMDL = 2 };
    /// Kinds of files, by extension.
    enum FileType : int { PDB = 0, PQR = 1, UNKNOWN = 3 };

    /// What a text shows itself to be.
    enum class Content { UNKNOWN, ATOM_RECORDS, MMCIF };

    /// Empty state; fills the static tables of cPDBAtom that the reader needs.
    cClassicalParserPDB();

    /// First pass. A file that isn't regular or can't be read ends the process with status 1 and a message on
    /// standard output. Of an mmCIF file a line on the standard error stream tells; no atoms are read from
    /// it.
    /// @param nSegments, nAtoms  overwritten with upper bounds for the second pass: the segments and the
    /// atoms of
    ///                           the first model, hydrogens and waters included
    /// @param segmentMode        see SegmentMode
    void readFile(const std::string& name, int& nSegments, int& nAtoms, int segmentMode);

    /// Second pass, of the file read last. Waters, hydrogens and alternate locations above 'A' are not kept.
    /// @param segments, atoms  room for the numbers that readFile gave; getSegmentCount() and getAtomCount()
    /// are
    ///                         filled
    /// @param proteinOnly      keep amino and nucleic acids only
    void parseFields(cPDBSegment* segments, cPDBAtom* atoms, bool proteinOnly);

    /// Reads one model and appends it to a trajectory: the atom lines from `position` to the first END or
    /// ENDMDL or the end of the text, with the same atoms left out as in a file. A text of several models is
    /// read by calls from position 0 on until one returns 0:
    ///
    ///     long position = 0;
    ///     while (parser.parseFields(text, trajectory, position, false) == 1) {
    ///     }
    ///
    /// Without an atom line nothing is appended. The kind of file and what ends a segment are those of the
    /// file read last, before that PDB and AT_CHAIN_AND_TER.
    /// @param buffer    the text, ending with a zero
    /// @param position  within the text; moved to the next atom line behind the model, or to where no line is
    ///                  left; as it was if the call throws
    /// @return 1 if there is a further atom line behind the model, else 0
    /// @throws std::invalid_argument  a negative position; or a first model of which no atom is kept
    /// @throws std::length_error      another number of atoms than in the first frame, with the frame
    int parseFields(const char* buffer, cTrajectory& out, long& position, bool proteinOnly);

    /// Kind of the line at `position` in a buffer of `size` characters. Prints "Missing Residues:\n" to
    /// standard output at the heading of that block.
    int readPDBLine(const char* buffer, long position, long size);
    /// The same without the print, with the fields of an atom line: all four of an ATOM line, resSeq and
    /// chain of a HETATM line.
    /// @param resName, atomName  room for 4 and 5 characters
    int readPDBLine(const char* buffer, long position, long size, int& resSeq, char& chain, char* resName,
                    char* atomName);

    /// Goes by the first line that tells: an atom line with numbers in the columns of the coordinates, or the
    /// start of a data block, a loop or an item of atom sites, which an mmCIF file has in front of its atoms.
    static Content contentOf(std::string_view text);

    /// Fills what an atom line holds. For a pqr file the two columns behind the coordinates are charge and
    /// radius, and occupancy and temperature factor become 0.
    /// @param n  length of the line without its line end
    /// @return 1
    int readPDBRecordFields(const char* line, cPDBAtom* atom, int n) const;
    /// Appends the residue of a "REMARK 465" row to the sequence of its chain.
    void readMissResRecordFields(const char* line);
    /// The coordinates of an atom line, rounded to single precision.
    void readPDBCoords(const char* line, cVector3& out) const;

    /// Trim blanks off both ends of a field of n characters with room for a terminating zero.
    /// @return the new length; in the second form the number of leading blanks removed
    static int deleteSpacesInAString(char* field, int n);
    static int deleteSpacesInAString2(char* field, int n);

    int getAtomCount() const { return m_nAtoms; }       ///< atoms kept
    int getSegmentCount() const { return m_nSegments; } ///< segments closed
    int getWaterCount() const { return m_nWaters; }     ///< water atoms met, hydrogens excepted
    bool hasMoreModels() const { return m_hasMoreModels; }
    int getFileType() const { return m_fileType; }
    /// By chain identifier, for the chains of the first model and of its missing residues.
    const std::map<unsigned int, cSequence>& getSequences() const { return m_sequences; }

private:
    // Offsets and widths of the fields of an atom line that both passes read.
    static constexpr int serialOffset = 6;
    static constexpr int serialWidth = 5;
    static constexpr int nameOffset = 12;
    static constexpr int nameWidth = 4;
    static constexpr int resnameOffset = 17;
    static constexpr int resnameWidth = 3;
    static constexpr int chainOffset = 21;
    static constexpr int resseqOffset = 22;
    static constexpr int resseqWidth = 4;
    /// What classify returns for the heading of the missing residues, a REMARK to everyone else.
    static constexpr int missingHeadingLine = 0;

    /// The buffer from the start of a line on; behind m_size characters stand blanks.
    struct Line {
        const char* m_text;
        long m_size;

        char at(int offset) const { return offset < m_size ? m_text[offset] : ' '; }
        /// @param field  room for width characters and a terminating zero
        void copy(int offset, int width, char* field) const;
        int integer(int offset, int width) const;
        double real(int offset, int width) const;
        /// Whether the three fields of the coordinates hold a number each, and nothing else.
        bool holdsCoordinates() const;
    };
    /// What a pass remembers from line to line.
    struct SegmentState;

    /// The line at the start of a text that ends with a zero.
    static Line lineOf(const char* text);

    void reset(const std::string& name, int segmentMode);
    void loadBuffer(const std::string& name);
    /// Tells of a byte-order mark, a compressed file and an mmCIF file; of the last nothing stays in the
    /// buffer.
    /// @return  whether the file is compressed, so that its records mean nothing
    bool warnOfOtherFormat(const std::string& name);
    static void warnOfOddCoordinates(const std::string& name, int count, int firstSerial);
    long bufferSize() const { return static_cast<long>(m_buffer.size()); }
    Line lineAt(long position) const;
    long lineEnd(long position) const;
    int classify(const char* buffer, long position, long size);

    void countResidue(char chain, int resSeq, SegmentState& state);
    void lookForMoreModels();
    void startSequence(char chain, int resSeq);
    void endSequence(char chain, int resSeq);
    void readMissingResidue(const Line& line);

    void addAtom(SegmentState& state, cPDBSegment* segments, cPDBAtom* atoms, bool proteinOnly);
    /// @param length  of the line without its line end
    void readAtom(const Line& line, long length, cPDBAtom& atom) const;
    void readFields(const Line& line, cPDBAtom& atom, int n) const;
    static void readCoords(const Line& line, cVector3& out);
    void assignElement(cPDBAtom& atom) const;
    static bool isKept(const cPDBAtom& atom, bool proteinOnly);
    void closeSegment(SegmentState& state, cPDBSegment* segments);

    int kindOfLine(const char* text);
    /// The atoms kept of the model at `position`, which moves to the line that ends the model.
    /// @return true if there was an atom line
    bool readModel(const char* buffer, long& position, bool proteinOnly, std::vector<cPDBAtom>& atoms);

    int m_nAtoms = 0;
    int m_nSegments = 0;
    int m_nWaters = 0;
    bool m_hasMoreModels = false;
    long m_position = 0;
    int m_fileType = UNKNOWN;
    int m_inMissingResidues = 0;
    cPeriodicTable m_periodicTable;
    std::vector<char> m_buffer;
    int m_segmentMode = 0;
    std::map<unsigned int, cSequence> m_sequences;
};

#endif
