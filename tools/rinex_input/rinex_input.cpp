// placeholder so the library always has a source
namespace rinex_input {}
