//go:build windows

// Package systemsearch calls system_search.dll. What each function promises is written in
// system_search.h.
package systemsearch

import (
	"runtime"
	"syscall"
	"unsafe"
)

var (
	library        = syscall.NewLazyDLL("system_search.dll")
	create         = library.NewProc("ss_create")
	start          = library.NewProc("ss_start")
	status         = library.NewProc("ss_status")
	errorText      = library.NewProc("ss_error")
	destroy        = library.NewProc("ss_destroy")
	query          = library.NewProc("ss_query")
	queryDirectory = library.NewProc("ss_query_directory")
	queryPoll      = library.NewProc("ss_query_poll")
	queryPath      = library.NewProc("ss_query_path")
	queryKind      = library.NewProc("ss_query_kind")
	queryMetadata  = library.NewProc("ss_query_metadata")
	queryDestroy   = library.NewProc("ss_query_destroy")
)

const (
	maxResults       = 1000
	kindAny          = 0
	metadataSize     = 1
	metadataModified = 2
)

type EngineState uint32

const (
	EngineIdle EngineState = iota
	EngineRunning
	EngineReady
	EngineCancelled
	EngineFailed
)

type QueryState uint32

const (
	QueryRunning QueryState = iota
	QueryDone
	QueryCancelled
	QueryFailed
)

type Kind uint32

const (
	KindFile   Kind = 1
	KindFolder Kind = 2
)

// Progress is the record EngineStatus.
type Progress struct {
	State     EngineState
	Entries   uint32
	Skipped   uint32
	Limited   uint32
	FromCache uint32
}

// Outcome is the record QueryStatus.
type Outcome struct {
	State           QueryState
	Matched         uint32
	Count           uint32
	IndexEntries    uint32
	IndexIncomplete uint32
}

// metadata is the record ResultMetadata.
type metadata struct {
	size     uint64
	modified int64
	flags    uint32
	reserved uint32
}

// Result is one result of a query; Size and Modified are nil when unknown.
type Result struct {
	Path     string
	Kind     Kind
	Size     *uint64
	Modified *int64
}

// Engine is an index and the build that fills it.
type Engine struct{ handle uintptr }

// Load finds the DLL, or says why it cannot be used.
func Load() error { return library.Load() }

// Create makes an engine with an empty index.
func Create() (*Engine, bool) {
	handle, _, _ := create.Call()
	return &Engine{handle}, handle != 0
}

// Start builds the index of one folder, or of every local drive when scope is "".
func (e *Engine) Start(scope, cachePath string, force bool) bool {
	scopeText, err := syscall.BytePtrFromString(scope)
	if err != nil {
		return false
	}
	cacheText, err := syscall.BytePtrFromString(cachePath)
	if err != nil {
		return false
	}
	var walk uintptr
	if force {
		walk = 1
	}
	started, _, _ := start.Call(e.handle, uintptr(unsafe.Pointer(scopeText)),
		uintptr(unsafe.Pointer(cacheText)), walk)
	return int32(started) != 0
}

func (e *Engine) Progress() (progress Progress) {
	status.Call(e.handle, uintptr(unsafe.Pointer(&progress)))
	return progress
}

// Error returns the last error. The library keeps the text for each thread, so the goroutine stays
// on one until it is copied.
func (e *Engine) Error() string {
	runtime.LockOSThread()
	defer runtime.UnlockOSThread()
	text, _, _ := errorText.Call(e.handle)
	return copyText(text)
}

// Destroy cancels the build and waits for its thread.
func (e *Engine) Destroy() {
	destroy.Call(e.handle)
	e.handle = 0
}

// Query is a running or finished search.
type Query struct{ handle uintptr }

// Search searches what is indexed now.
func (e *Engine) Search(text string) (*Query, bool) {
	pattern, err := syscall.BytePtrFromString(text)
	if err != nil {
		return nil, false
	}
	handle, _, _ := query.Call(e.handle, uintptr(unsafe.Pointer(pattern)), 0, kindAny, maxResults)
	return &Query{handle}, handle != 0
}

// ListFolder searches the immediate children of one folder.
func ListFolder(folder, text string) (*Query, bool) {
	directory, err := syscall.BytePtrFromString(folder)
	if err != nil {
		return nil, false
	}
	pattern, err := syscall.BytePtrFromString(text)
	if err != nil {
		return nil, false
	}
	handle, _, _ := queryDirectory.Call(uintptr(unsafe.Pointer(directory)),
		uintptr(unsafe.Pointer(pattern)), 0, kindAny, maxResults)
	return &Query{handle}, handle != 0
}

func (q *Query) Poll() (outcome Outcome) {
	queryPoll.Call(q.handle, uintptr(unsafe.Pointer(&outcome)))
	return outcome
}

// Result returns the result at a position below Outcome.Count.
func (q *Query) Result(index uint32) Result {
	path, _, _ := queryPath.Call(q.handle, uintptr(index))
	kind, _, _ := queryKind.Call(q.handle, uintptr(index))
	var known metadata
	queryMetadata.Call(q.handle, uintptr(index), uintptr(unsafe.Pointer(&known)))

	result := Result{Path: copyText(path), Kind: Kind(kind)}
	if known.flags&metadataSize != 0 {
		result.Size = &known.size
	}
	if known.flags&metadataModified != 0 {
		result.Modified = &known.modified
	}
	return result
}

// Destroy cancels the query if it still runs, and frees it.
func (q *Query) Destroy() {
	queryDestroy.Call(q.handle)
	q.handle = 0
}

// copyText copies a NUL-terminated text of the library, which lies outside Go's heap and does not
// move.
func copyText(address uintptr) string {
	if address == 0 {
		return ""
	}
	start := *(*unsafe.Pointer)(unsafe.Pointer(&address))
	length := 0
	for *(*byte)(unsafe.Add(start, length)) != 0 {
		length++
	}
	return string(unsafe.Slice((*byte)(start), length))
}
