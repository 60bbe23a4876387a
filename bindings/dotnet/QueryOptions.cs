using System;

namespace SystemSearch
{
    /// <summary>What an entry is.</summary>
    public enum EntryKind
    {
        /// <summary>As a filter: files and folders.</summary>
        Any,
        /// <summary>Anything that is not a folder: files, links, junctions.</summary>
        File,
        /// <summary>A folder.</summary>
        Folder,
    }

    /// <summary>How a query matches, and how much it gives.</summary>
    public sealed class QueryOptions
    {
        /// <summary>The most results that a query holds.</summary>
        public const int MaxLimit = 1000;

        private const uint PathFlag = 1;
        private const uint CaseFlag = 2;

        private EntryKind kind = EntryKind.Any;
        private int limit = MaxLimit;

        /// <summary>Files only, folders only, or both, which is the default.</summary>
        public EntryKind Kind
        {
            get => kind;
            set => kind = value >= EntryKind.Any && value <= EntryKind.Folder
                ? value
                : throw new ArgumentOutOfRangeException(nameof(value));
        }

        /// <summary>Matches the whole path instead of its last component.</summary>
        public bool MatchPath { get; set; }

        /// <summary>Tells upper from lower case; otherwise A-Z and a-z are equal.</summary>
        public bool MatchCase { get; set; }

        /// <summary>The most results to hold, 1 to <see cref="MaxLimit"/>, which is the default.</summary>
        public int Limit
        {
            get => limit;
            set => limit = value >= 1 && value <= MaxLimit
                ? value
                : throw new ArgumentOutOfRangeException(nameof(value));
        }

        internal uint Flags => (MatchPath ? PathFlag : 0) | (MatchCase ? CaseFlag : 0);
    }
}
